// What belongs to each command word rather than to its operation: the argument rule, the log
// texts of the common pattern, the permissions an authorization must grant, how long the SDK
// session waits for the reply and how long for the product's closing event. One row per word.
//
// The rows live here, below every layer, because the authorization gate (auth/), the SDK session
// and the event waits (agent/) read them, and they may not include app/. Being constants, they
// are complete before any code runs: nothing has to be handed down at start-up, and the lookups
// are tested natively. app/ binds a handler to a row through its `Command` (app/command_table.cc),
// so a word is written once, here. Every word has its row already; carrying a command out takes
// its binding there (an operation that follows the common pattern, or a handler) and its
// operation in ops/.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarn {

// The commands, in the order of their rows.
enum class Command : uint8_t {
  kUninstall,
  kDetect,
  kRunSetupDownloader,
  kRunInstaller,
  kCheckIfRebootRequired,
  kCheckIfLegacyVersion,
  kCheckIs64BitOs,
  kGetInstallationLink,
  kCheckForUpdateErrors,
  kGetUpdateStatus,
  kHasCriticalIssues,
  kIsUpToDate,
  kGetUpdateLocations,
  kStartUpdate,
  kGetProductVersion,
  kGetLastUpdate,
  kGetFeatureStatus,
  kGetLastSystemScan,
  kStartFullScan,
  kStartQuickScan,
  kGetVersion,
  kEditFeatures,
  kCompetitorsAssessment,
  kRemoveCompetitors,
  kRemoveAllCompetitors,
  kGetChallenge,
};
inline constexpr size_t kCommandRows = static_cast<size_t>(Command::kGetChallenge) + 1;

// How a command's ArgumentCount (program path and command word included) is judged.
enum class ArgumentRule : uint8_t {
  kExactly,        // `argumentCount` and no other
  kAtLeast,        // `argumentCount` or more
  kAny,            // every count
  kHandlerParses,  // the handler checks the count and the forms itself
};

// A permission word of the authorization service with its number.
struct Permission {
  const wchar_t* word;
  uint32_t number;
};

// A permission the command needs: always, or, when `selectedBy` names argument words (lower
// case), when one of them is among the arguments. A command line that holds none of a row's
// argument words needs every permission of the row.
struct RequiredPermission {
  const Permission* permission = nullptr;
  const wchar_t* selectedBy[2] = {};
};

// An exit code a command gives, with what it means. `code` is decimal, or "other" for codes
// passed through from elsewhere (the installer, the agent, Windows).
struct ExitCode {
  const char* code;
  const char* meaning;
};

struct ExitCodeList {
  const ExitCode* codes = nullptr;
  size_t count = 0;
};

template <size_t N>
constexpr ExitCodeList CodesOf(const ExitCode (&codes)[N]) {
  return {codes, N};
}

// What an integrator's script can rely on, beyond the log texts: the argument form and the answer
// as the command reference states them, the command's own exit codes, and how it reaches the
// agent. These render the command reference's summary rows and the contract file.
enum ContractTrait : uint8_t {
  kAsksAgent = 1,        // talks to the agent through its SDK library (the waits apply)
  kAgentQueryCodes = 2,  // a failed agent query ends it with that query's codes
  kWaitArgument = 4,     // an argument bounds the wait for the reply and the product's event
};

struct CommandContract {
  const char* arguments;
  const char* answer;
  ExitCodeList exitCodes;
  uint8_t traits;
};

// The reply wait of a command that names no other, and of a session run for no command.
inline constexpr std::chrono::seconds kDefaultReplyTimeout{10};
inline constexpr std::chrono::seconds kNoProductWait{0};

struct CommandFacts {
  Command command;
  const wchar_t* word;  // lower case, leading hyphen included
  ArgumentRule argumentRule;
  int32_t argumentCount;
  const wchar_t* start[2];      // logged first, in order; the second is often absent
  const wchar_t* badArguments;  // null: the command has no argument fault
  const wchar_t* finish;        // logged on success; null: none
  bool finishWithCode;          // the finish text is followed by the result code
  bool printsAlways;            // the answer is printed on every path, 160 included
  RequiredPermission permissions[2];
  bool legacySupport;  // may run without the authorization service when no option is given
  std::chrono::seconds replyTimeout;  // the SDK reply wait without an explicit time-out
  std::chrono::seconds productWait;   // the wait for the product's event; 0: none
  CommandContract contract;
};

// Codes every command can give, codes of a failed agent query, codes of the authorization gate.
extern const ExitCodeList kCommonExitCodes;
extern const ExitCodeList kAgentQueryExitCodes;
extern const ExitCodeList kAuthorizationExitCodes;

// Every row, in the order of `Command`.
extern const CommandFacts kCommandFacts[kCommandRows];

inline const CommandFacts& FactsOf(Command command) {
  return kCommandFacts[static_cast<size_t>(command)];
}

// The row of `word`, compared without regard to case; null for a word that is no command.
const CommandFacts* FindCommandFacts(std::wstring_view word);

}  // namespace tarn
