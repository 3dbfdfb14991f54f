#include "app/dispatcher.h"

#include <stdexcept>

#include "agent/probes.h"
#include "app/command_table.h"
#include "app/config_switch.h"
#include "app/log.h"
#include "app/process_state.h"
#include "auth/authorization_gate.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

// The program's directory with its trailing backslash; empty (the current directory) when the
// program path has none.
std::wstring ProgramDirectory() {
  const std::wstring& program = ArgumentList[0];
  const size_t slash = program.rfind(L'\\');
  return slash == std::wstring::npos ? std::wstring() : program.substr(0, slash + 1);
}

}  // namespace

uint32_t Dispatch(const StartupSettings& settings) {
  const std::wstring directory = ProgramDirectory();
  const std::wstring configPath = directory + L"configfile.txt";
  if (FileExists(configPath, LogHandle) == 0) {
    SwitchLogging(configPath, directory, LogHandle);
  }

  const std::wstring commandKey = ToLowerWide(ArgumentList[1]);

  ScanWaitTime = settings.defaultScanWaitTime;
  const uint32_t gateResult =
      ValidateAuthorization(Authorized, AuthorizationServiceUsed, ArgumentList, ArgumentCount);
  if (gateResult != 0) return gateResult;
  if (!Authorized) return kResultNotAuthorized;

  uint32_t result = kErrorBadArguments;
  try {
    result = CommandTable.at(commandKey)();
  } catch (const std::out_of_range&) {
    WriteLog(LogHandle, L"Invalid arguments");
  } catch (...) {
    WriteLog(LogHandle, L"Something happened");
  }
  return result;
}

}  // namespace tarn
