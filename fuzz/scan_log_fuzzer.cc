// The scan log reader (rapidxml behind a nesting guard) on arbitrary input.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "ops/last_system_scan.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string xml(reinterpret_cast<const char*>(data), size);
  int64_t endTime = 0;
  const uint32_t code = tarn::ReadScanEndTime(xml, endTime, nullptr);
  if (code != 0 && code != 13 && code != 8) std::abort();
  // Seconds and milliseconds read as 32-bit numbers bound the end time.
  if (code == 0 && (endTime > 2149631131LL || endTime < -2149631131LL)) std::abort();
  return 0;
}
