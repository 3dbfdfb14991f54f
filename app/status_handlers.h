// The answers of the status commands whose operation takes an argument or gives a number.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

/// GetUpdateStatus's code for the location named by the first argument.
[[nodiscard]] uint32_t AnswerUpdateStatus(std::string& answer, Logger* log);
/// IsUpToDate's code; the answer (0 or 1) is written on success only.
[[nodiscard]] uint32_t AnswerUpToDate(std::string& answer, Logger* log);

}  // namespace tarn
