// The commands this tool runs: each row of facts (base/command_facts.h) with what carries it out.
// A word whose row has no binding is answered as an unknown word.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "app/command_runner.h"
#include "base/command_facts.h"

namespace tarn {

// A handler reads ArgumentList and ArgumentCount, prints ResultText and returns the code.
using CommandHandler = uint32_t (*)();

// A command follows the common pattern with its `operation`, or has a `handler` of its own.
struct CommandBinding {
  Command command;
  AnswerOperation operation = nullptr;
  CommandHandler handler = nullptr;
};

// Command word (lower case) -> binding, built before wmain runs. Look words up with at(): a
// missing word throws std::out_of_range, which the dispatcher answers with 160.
extern const std::unordered_map<std::wstring, const CommandBinding*> CommandTable;

/// The command's result code, which becomes the exit code.
[[nodiscard]] uint32_t RunCommand(const CommandBinding& binding);

}  // namespace tarn
