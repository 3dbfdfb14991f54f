// The answer of the authorization challenge command.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

/// GetChallenge's code for the text given as the first argument; the answer is untouched on
/// failure.
[[nodiscard]] uint32_t AnswerChallenge(std::string& answer, Logger* log);

}  // namespace tarn
