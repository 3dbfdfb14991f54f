// Process-wide state of the one command this process runs. Filled in order: arguments (entry
// point), logging (dispatcher), gate flags (gate), answer and code (handler). Lives to exit.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {

class Logger;

// The whole command line: program path, command word, the command's own arguments. The
// authorization gate takes its options out of it.
extern std::vector<std::wstring> ArgumentList;
// How many elements of ArgumentList handlers consider (lowered by 2 per consumed option pair).
extern int32_t ArgumentCount;
extern uint32_t ResultCode;
// The command's answer, written to standard output as it stands.
extern std::string ResultText;
// Wait time of the scan commands in milliseconds; -1 means no limit.
extern int64_t ScanWaitTime;
extern bool Authorized;
extern bool AuthorizationServiceUsed;
// Null while logging is off.
extern Logger* LogHandle;

// Settings the entry point hands the dispatcher.
struct StartupSettings {
  int64_t defaultScanWaitTime = -1;
  int64_t reserved = 0;  // kept for layout; no command reads it
};

}  // namespace tarn
