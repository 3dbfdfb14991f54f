#include "app/lifecycle_handlers.h"

#include "agent/file_probes.h"
#include "app/install_arguments.h"
#include "app/output.h"
#include "base/command_facts.h"
#include "base/log.h"
#include "base/process_state.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "ops/detect.h"
#include "ops/install.h"
#include "ops/uninstall.h"

namespace tarn {
namespace {

using InstallOperation = uint32_t (*)(const LifecycleSystem& system, const InstallRequest& request,
                                      std::string& answer, Logger* log);

// Stores and prints the answer; these commands print on every path.
/// `code`.
[[nodiscard]] uint32_t Finish(uint32_t code) {
  ResultCode = code;
  WriteResultText();
  return ResultCode;
}

/// The first failing check's or step's code, else the installer's exit code; `answer` stays
/// "0|||" unless the installer ran.
[[nodiscard]] uint32_t AnswerInstall(Command command, InstallOperation operation,
                                     std::string& answer, Logger* log) {
  // Printed on every path; the final detect replaces it once the installer has run.
  answer = "0|||";
  InstallRequest request;
  if (const uint32_t code = CheckInstallArguments(
          ArgumentList, ArgumentCount, FactsOf(command).badArguments, FileExists, request, log);
      code != 0) {
    return code;
  }
  return operation(WindowsLifecycleSystem(), request, answer, log);
}

}  // namespace

uint32_t HandleUninstall() {
  const CommandFacts& facts = FactsOf(Command::kUninstall);
  if (AuthorizationServiceUsed) {
    // Authorized through the service, the command takes no argument of its own.
    if (ArgumentCount != 2) {
      ResultCode = kErrorBadArguments;
      return ResultCode;
    }
    WriteLog(LogHandle, L"Starting uninstall with authorization service");
    return Finish(UninstallWithSdk(WindowsLifecycleSystem(), ResultText, LogHandle));
  }
  if (ArgumentCount == 2) {
    WriteLog(LogHandle, facts.start[0]);
    return Finish(UninstallWithInstaller(WindowsLifecycleSystem(), nullptr, ResultText, LogHandle));
  }
  if (ArgumentCount == 3) {
    WriteLog(LogHandle, L"Starting uninstall with arguments");
    return Finish(
        UninstallWithInstaller(WindowsLifecycleSystem(), &ArgumentList[2], ResultText, LogHandle));
  }
  WriteLog(LogHandle, facts.start[0]);
  WriteLog(LogHandle, facts.badArguments);
  return Finish(kErrorBadArguments);
}

uint32_t HandleDetect() {
  const CommandFacts& facts = FactsOf(Command::kDetect);
  const bool rebootFlag = ArgumentCount == 3 && EqualsIgnoreCase(ArgumentList[2], L"-r");
  WriteLog(LogHandle, rebootFlag ? L"Starting TARN Detect with reboot required" : facts.start[0]);
  if (ArgumentCount != 2 && !rebootFlag) {
    WriteLog(LogHandle, facts.badArguments);
    return Finish(kErrorBadArguments);
  }
  return Finish(Detect(WindowsLifecycleSystem(), rebootFlag, ResultText, LogHandle));
}

uint32_t AnswerRunSetupDownloader(std::string& answer, Logger* log) {
  return AnswerInstall(Command::kRunSetupDownloader, InstallWithSetupDownloader, answer, log);
}

uint32_t AnswerRunInstaller(std::string& answer, Logger* log) {
  return AnswerInstall(Command::kRunInstaller, InstallWithInstaller, answer, log);
}

}  // namespace tarn
