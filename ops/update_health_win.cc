// The update health commands' frames: ask the agent, walk the answer, log the end.
#include <ctime>

#include "agent/sdk_session.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "ops/product_status.h"
#include "ops/update_health.h"

namespace tarn {
namespace {

/// The wrapper's code; `status` is filled on 0 only.
[[nodiscard]] uint32_t GetStatus(rapidjson::Document& status, Logger* log) {
  WriteLog(log, L"Execute Product.GetStatus method");
  return RunSdkMethod(status, L"Product.GetStatus", L"", L"", log);
}

}  // namespace

uint32_t GetUpdateErrors(std::string& payload, Logger* log) {
  rapidjson::Document status;
  if (const uint32_t code = GetStatus(status, log); code != 0) {
    WriteLog(log, L"Failed to execute Product.GetStatus with error: " + std::to_wstring(code));
    return code;
  }
  return WalkStatusOutput(status, CollectUpdateErrors, payload,
                          L"Finished to get update errors with error: ", log);
}

uint32_t GetUpdateStatus(const std::string& location, std::string& payload, Logger* log) {
  rapidjson::Document status;
  if (const uint32_t code = GetStatus(status, log); code != 0) {
    WriteLog(log, L"Failed to execute Product.GetStatus method");
    return code;
  }
  uint32_t code = 0;
  try {
    code = SelectUpdateStatus(status, location, payload, log);
    if (code != 0) return code;
  } catch (...) {
    WriteLog(log, L"Invalid JSON");
    payload.clear();
    code = kErrorMalformed;
  }
  WriteLog(log, L"Finished getting update status with error: " + std::to_wstring(code));
  return code;
}

uint32_t IsUpToDate(uint32_t& upToDate, Logger* log) {
  upToDate = 0;
  rapidjson::Document status;
  if (const uint32_t code = GetStatus(status, log); code != 0) {
    WriteLog(log, L"Failed to execute method. Error code: " + std::to_wstring(code));
    return code;
  }
  WriteLog(log, L"Execute Update.GetUpdateSettings");
  rapidjson::Document settings;
  // Without settings no schedule is known; every location then gets the two-day rule.
  const bool haveSettings = RunSdkMethod(settings, L"Update.GetUpdateSettings", L"", L"", log) == 0;
  uint32_t code = 0;
  try {
    code = DecideUpToDate(status, haveSettings ? &settings : nullptr,
                          static_cast<int64_t>(std::time(nullptr)), upToDate, log);
    if (code != 0) return code;
  } catch (...) {
    WriteLog(log, L"Invalid JSON");
    code = kErrorMalformed;
  }
  WriteLog(log, L"Finished getting update status with error: " + std::to_wstring(code));
  return code;
}

}  // namespace tarn
