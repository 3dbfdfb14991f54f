#include "auth/authorization_gate.h"

#include "app/log.h"
#include "app/process_state.h"

namespace tarn {

// No command of the table needs an authorization yet: every command passes as an unguarded one.
uint32_t ValidateAuthorization(bool& authorized, bool& authorizationServiceUsed,
                               std::vector<std::wstring>& /*arguments*/,
                               int32_t& /*argumentCount*/) {
  WriteLog(LogHandle, L"Validate authorization");
  authorized = false;
  authorizationServiceUsed = false;
  WriteLog(LogHandle, L"See if command must be authorized");
  WriteLog(LogHandle, L"Begin command search");
  WriteLog(LogHandle, L"Command does not need authorization");
  authorized = true;
  return 0;
}

}  // namespace tarn
