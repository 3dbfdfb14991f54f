#include "app/dispatcher.h"

#include <stdexcept>

#include "agent/file_probes.h"
#include "app/command_table.h"
#include "app/config_switch.h"
#include "app/wiring.h"
#include "auth/authorization_gate.h"
#include "base/log.h"
#include "base/process_state.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {

uint32_t Dispatch(const StartupSettings& settings) {
  // With its trailing backslash; empty (the current directory) when the path has none.
  const std::wstring directory = DirectoryPrefixOf(ArgumentList[0]);
  const std::wstring configPath = directory + L"configfile.txt";
  if (FileExists(configPath, LogHandle) == 0) {
    SwitchLogging(configPath, directory, LogHandle);
  }

  const std::wstring commandKey = ToLowerWide(ArgumentList[1]);

  ScanWaitTime = settings.defaultScanWaitTime;
  const uint32_t gateResult =
      ValidateAuthorization(EndpointIdentityServices(), Authorized, AuthorizationServiceUsed,
                            ArgumentList, ArgumentCount);
  if (gateResult != 0) return gateResult;
  if (!Authorized) return kResultNotAuthorized;

  uint32_t result = kErrorBadArguments;
  try {
    result = RunCommand(*CommandTable.at(commandKey));
  } catch (const std::out_of_range&) {
    WriteLog(LogHandle, L"Invalid arguments");
  } catch (...) {
    WriteLog(LogHandle, L"Something happened");
  }
  return result;
}

}  // namespace tarn
