// Handler of "-getchallenge": issues a challenge for the authorization text it is given.
#include "app/handlers.h"
#include "app/log.h"
#include "app/output.h"
#include "app/process_state.h"
#include "auth/challenge.h"
#include "base/result_codes.h"

namespace tarn {

uint32_t HandleGetChallenge() {
  WriteLog(LogHandle, L"Get challenge command");
  WriteLog(LogHandle, L"Get challenge");
  if (ArgumentCount != 3) {
    WriteLog(LogHandle, L"Invalid arguments");
    ResultCode = kErrorBadArguments;
    return ResultCode;
  }
  ResultCode = GetChallenge(ResultText, ArgumentList[2], LogHandle);
  if (ResultCode != 0) return ResultCode;
  WriteLog(LogHandle, L"Challenge retrieved successfully");
  WriteResultText();
  return ResultCode;
}

}  // namespace tarn
