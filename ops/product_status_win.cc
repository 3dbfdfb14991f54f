// The status queries' common frame: ask for "Product.GetStatus", walk its output, log the end.
#include "agent/sdk_session.h"
#include "base/log.h"
#include "ops/product_status.h"

namespace tarn {
namespace {

/// The wrapper's code (logged), or WalkStatusOutput's.
[[nodiscard]] uint32_t RunStatusQuery(StatusWalk walk, std::string& payload, const wchar_t* closing,
                                      Logger* log) {
  WriteLog(log, L"Execute Product.GetStatus method");
  rapidjson::Document status;
  if (const uint32_t code = RunSdkMethod(status, L"Product.GetStatus", L"", L"", log); code != 0) {
    WriteLog(log, L"Failed to execute method. Error code: " + std::to_wstring(code));
    return code;
  }
  return WalkStatusOutput(status, walk, payload, closing, log);
}

}  // namespace

// This query talks to the session itself and reports its failure without a code.
uint32_t GetCriticalIssues(std::string& payload, Logger* log) {
  WriteLog(log, L"Execute Product.GetStatus method");
  rapidjson::Document status;
  int32_t apiError = 0;
  int64_t endpointSdkError = 0;
  uint32_t code =
      ExecuteSdkMethod(status, apiError, endpointSdkError, L"Product.GetStatus", L"", L"", log);
  if (code == 0 && endpointSdkError != 0) code = static_cast<uint32_t>(endpointSdkError);
  if (code != 0) {
    WriteLog(log, L"Failed to execute Product.GetStatus method");
    return code;
  }
  return WalkStatusOutput(status, CollectCriticalIssues, payload,
                          L"Finished to get critical issues with error: ", log);
}

uint32_t GetUpdateLocations(std::string& payload, Logger* log) {
  return RunStatusQuery(CollectUpdateLocations, payload,
                        L"Finished to get update locations with error code: ", log);
}

uint32_t GetProductVersion(std::string& payload, Logger* log) {
  return RunStatusQuery(FindProductVersion, payload,
                        L"Finished returning product version with error code: ", log);
}

uint32_t GetLastUpdateTime(std::string& payload, Logger* log) {
  return RunStatusQuery(FindLastUpdateTime, payload,
                        L"Finished retrieving last update with error code: ", log);
}

uint32_t GetFeatureStatus(std::string& payload, Logger* log) {
  return RunStatusQuery(CollectFeatureStatus, payload,
                        L"Finished to get feature status with error code: ", log);
}

}  // namespace tarn
