// Handlers of the read-only status commands: product status, update health, reboot.
#include "agent/probes.h"
#include "app/handlers.h"
#include "app/log.h"
#include "app/output.h"
#include "app/process_state.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "ops/product_status.h"
#include "ops/update_health.h"

namespace tarn {
namespace {

using StatusOperation = uint32_t (*)(std::string& payload, Logger* log);

// Checks the argument count, runs the operation and, on success, logs the finish line (followed
// by the code when `finishWithCode`), prints the answer and returns 0. A failure prints nothing.
struct StatusCommand {
  const wchar_t* start;
  const wchar_t* badArguments;
  int32_t argumentCount;
  const wchar_t* finish;
  bool finishWithCode;
};

bool ArgumentsFit(const StatusCommand& command) {
  WriteLog(LogHandle, command.start);
  if (ArgumentCount == command.argumentCount) return true;
  WriteLog(LogHandle, command.badArguments);
  ResultCode = kErrorBadArguments;
  return false;
}

uint32_t Finish(const StatusCommand& command) {
  if (ResultCode != 0) return ResultCode;
  WriteLog(LogHandle, command.finishWithCode ? command.finish + std::to_wstring(ResultCode)
                                             : std::wstring(command.finish));
  WriteResultText();
  return ResultCode;
}

uint32_t RunStatusCommand(const StatusCommand& command, StatusOperation operation) {
  if (!ArgumentsFit(command)) return ResultCode;
  ResultCode = operation(ResultText, LogHandle);
  return Finish(command);
}

}  // namespace

uint32_t HandleHasCriticalIssues() {
  return RunStatusCommand({L"Checking for critical issues", L"Bad arguments", 2,
                           L"Finished to get critical issues successfully", false},
                          GetCriticalIssues);
}

uint32_t HandleGetUpdateLocations() {
  return RunStatusCommand({L"Get update locations", L"Bad arguments", 2,
                           L"Update locations retrieved successfully", false},
                          GetUpdateLocations);
}

uint32_t HandleGetProductVersion() {
  return RunStatusCommand({L"Get product version", L"Bad arguments", 2,
                           L"Finished to get product version with error code: ", true},
                          GetProductVersion);
}

uint32_t HandleGetLastUpdate() {
  return RunStatusCommand({L"Get last update", L"Bad arguments", 2,
                           L"Finished to get last update with error code: ", true},
                          GetLastUpdateTime);
}

uint32_t HandleGetFeatureStatus() {
  return RunStatusCommand({L"Get feature status", L"Bad arguments", 2,
                           L"Finished to get feature status with error code: ", true},
                          GetFeatureStatus);
}

uint32_t HandleCheckForUpdateErrors() {
  return RunStatusCommand(
      {L"Checking for update errors", L"Bad arguments. Invalid number of arguments", 2,
       L"Finished checking for update errors successfully", false},
      GetUpdateErrors);
}

uint32_t HandleGetUpdateStatus() {
  const StatusCommand command{L"Getting update status", L"Bad arguments. No status provided", 3,
                              L"Finished getting update status successfully", false};
  if (!ArgumentsFit(command)) return ResultCode;
  ResultCode = GetUpdateStatus(WideToUtf8(ArgumentList[2]), ResultText, LogHandle);
  return Finish(command);
}

uint32_t HandleIsUpToDate() {
  const StatusCommand command{L"Checking if TARN is up to date", L"Bad arguments", 2, L"", false};
  if (!ArgumentsFit(command)) return ResultCode;
  uint32_t upToDate = 0;
  ResultCode = IsUpToDate(upToDate, LogHandle);
  if (ResultCode != 0) return ResultCode;
  WriteLog(LogHandle, L"Is TARN up to date value: " + std::to_wstring(upToDate));
  ResultText = std::to_string(upToDate);
  WriteResultText();
  return ResultCode;
}

uint32_t HandleCheckIfRebootRequired() {
  WriteLog(LogHandle, L"Check if reboot is required");
  uint32_t required = 0;
  ResultCode = IsRebootRequired(required, LogHandle);
  WriteLog(LogHandle, L"Finished checking for reboot required");
  ResultText = std::to_string(required);
  WriteResultText();
  return ResultCode;
}

}  // namespace tarn
