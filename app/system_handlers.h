// The answers of the commands that ask the operating system or the tool itself.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

/// 0, with "1": the tool is built for x86-64 only.
[[nodiscard]] uint32_t AnswerIs64BitOs(std::string& answer, Logger* log);
/// 0, with 1 for a system older than Windows 7, else 0.
[[nodiscard]] uint32_t AnswerLegacyWindows(std::string& answer, Logger* log);
/// IsRebootRequired's code; the answer is 0 or 1 on every path.
[[nodiscard]] uint32_t AnswerRebootRequired(std::string& answer, Logger* log);
/// GetFileVersionString's code for the tool's own file; the answer is untouched on failure.
[[nodiscard]] uint32_t AnswerToolVersion(std::string& answer, Logger* log);

}  // namespace tarn
