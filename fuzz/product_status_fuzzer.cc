// The five status walks over an arbitrary "Product.GetStatus" output. Every access is type
// checked, so a walk never fails: only a throw would turn its code into 3.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/fuzz_json.h"
#include "ops/product_status.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace tarn;
  rapidjson::Document status;
  if (!ParseObject(data, size, status)) return 0;
  for (StatusWalk walk : {CollectCriticalIssues, CollectUpdateLocations, FindProductVersion,
                          FindLastUpdateTime, CollectFeatureStatus}) {
    std::string payload;
    Require(WalkStatusOutput(status, walk, payload, L"", nullptr) == 0);
  }
  return 0;
}
