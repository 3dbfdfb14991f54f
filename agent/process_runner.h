// Starts one of the agent's programs (its installer, the command interpreter that runs it), waits
// for it to end and gives back its exit code.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

// Runs `applicationPath` with `commandLine` as the program's whole command line (the caller
// quotes it), in the tool's console, environment and current folder, and waits without a time
// limit: an installation takes as long as it takes. Its messages never reach the log, whether
// logging is on or not: the calling operations log around it.
/// Returns the program's exit code, or the Win32 code of a failed start, wait or exit-code query
/// (2 for a missing file); the two are not told apart.
[[nodiscard]] uint32_t RunProcess(const std::wstring& applicationPath,
                                  const std::wstring& commandLine);

}  // namespace tarn
