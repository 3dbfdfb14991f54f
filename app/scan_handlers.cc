#include "app/scan_handlers.h"

#include <algorithm>

#include "agent/agent_platform.h"
#include "agent/sdk_session_state.h"
#include "app/command_runner.h"
#include "app/output.h"
#include "base/command_facts.h"
#include "base/log.h"
#include "base/process_state.h"
#include "base/result_codes.h"
#include "ops/scans.h"

namespace tarn {
namespace {

// A wait given to a scan is never shorter than this.
constexpr int64_t kMinimumScanWaitMs = 5000;

using ScanOperation = uint32_t (*)(int64_t& endpointSdkError, const std::wstring& commandName,
                                   const AgentPlatform& platform, Logger* log);

void LogStart(const CommandFacts& facts) {
  for (const wchar_t* line : facts.start) {
    if (line != nullptr) WriteLog(LogHandle, line);
  }
}

uint32_t BadArguments(const wchar_t* line) {
  WriteLog(LogHandle, line);
  return ResultCode = kErrorBadArguments;
}

// On success the agent's value is the answer and follows the finish text; the exit code is the
// operation's own.
uint32_t Finish(const CommandFacts& facts, int64_t value) {
  if (ResultCode != 0) return ResultCode;
  WriteLog(LogHandle, facts.finish + std::to_wstring(value));
  ResultText = std::to_string(value);
  WriteResultText();
  return ResultCode;
}

uint32_t RunScan(Command command, ScanOperation scan) {
  const CommandFacts& facts = FactsOf(command);
  LogStart(facts);
  if (ArgumentCount != 2 && ArgumentCount != 3) return BadArguments(facts.badArguments);
  if (ArgumentCount == 3) {
    const std::wstring& wait = ArgumentList[2];
    if (wait.find_first_not_of(L"0123456789") != std::wstring::npos) {
      return BadArguments(L"Bad arguments");
    }
    // An empty or too large number throws, which the dispatcher answers with 160.
    ScanWaitTime = std::max<int64_t>(std::stoll(wait), kMinimumScanWaitMs);
  }
  SessionState.explicitTimeoutMs = ScanWaitTime;
  int64_t value = 0;
  ResultCode = scan(value, ArgumentList[1], SystemAgentPlatform(), LogHandle);
  return Finish(facts, value);
}

}  // namespace

uint32_t HandleStartUpdate() {
  const CommandFacts& facts = FactsOf(Command::kStartUpdate);
  LogStart(facts);
  if (!ArgumentsFit(facts)) return ResultCode = kErrorBadArguments;
  int64_t value = 0;
  ResultCode = StartUpdate(value, SystemAgentPlatform(), LogHandle);
  return Finish(facts, value);
}

uint32_t HandleStartFullScan() { return RunScan(Command::kStartFullScan, StartFullScan); }

uint32_t HandleStartQuickScan() { return RunScan(Command::kStartQuickScan, StartQuickScan); }

}  // namespace tarn
