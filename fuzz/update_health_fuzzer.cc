// The update-health walks over an arbitrary status output. The same object also serves as the
// update settings ("settings" beside "Locations"), and the up-to-date verdict runs without any.
#include <cstddef>
#include <cstdint>
#include <string>

#include "base/json.h"
#include "fuzz/fuzz_json.h"
#include "ops/update_health.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarn;
  rapidjson::Document status;
  if (!ParseObject(data, size, status)) return 0;

  // The error listing stops the process at a location that is not an object, by design.
  const rapidjson::Value* locations = ObjectMember(status, "Locations");
  bool objectsOnly = true;
  if (locations != nullptr) {
    for (const auto& location : locations->GetObject()) objectsOnly &= location.value.IsObject();
  }
  if (objectsOnly) CollectUpdateErrors(status, nullptr);

  std::string payload;
  const uint32_t selected = SelectUpdateStatus(status, "Antivirus", payload, nullptr);
  Require(selected == 0 || (selected == 160 && payload.empty()));

  constexpr int64_t kNow = 1767225600;  // 2026-01-01
  const rapidjson::Value* const settingsCases[] = {&status, nullptr};
  for (const rapidjson::Value* settings : settingsCases) {
    uint32_t upToDate = 0;
    const uint32_t decided = DecideUpToDate(status, settings, kNow, upToDate, nullptr);
    Require((decided == 0 || decided == 3) && upToDate <= 1);
  }
  return 0;
}
