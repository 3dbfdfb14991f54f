// The common pattern of a command, driven by its row of facts: log the start, check the
// arguments, run the operation, and on success log the finish line and print the answer.
#pragma once

#include <cstdint>
#include <string>

#include "base/command_facts.h"

namespace tarn {

class Logger;

// The part of a command that is its own: fills the answer and returns the result code.
using AnswerOperation = uint32_t (*)(std::string& answer, Logger* log);

// Whether ArgumentCount fits the row's rule; logs the bad-arguments line when it does not.
// A rule the handler parses itself always fits here.
[[nodiscard]] bool ArgumentsFit(const CommandFacts& facts);

// Logs the start lines; a bad argument count logs its line and ends with 160. Otherwise runs
// `operation` into ResultText; a non-zero code is returned at once, unprinted, unless the row
// prints always. Then the finish line (and the code, where the row says so), the answer printed.
/// Returns ResultCode, which it sets (160 on bad arguments).
[[nodiscard]] uint32_t RunCommonPattern(const CommandFacts& facts, AnswerOperation operation);

}  // namespace tarn
