// The command words the tool answers to, each with its handler.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace tarn {

using CommandHandler = uint32_t (*)();

struct CommandEntry {
  const wchar_t* word;  // lower case, leading hyphen included
  CommandHandler handler;
  const char* summary;
};

// Every command, in table order.
extern const CommandEntry kCommands[];
extern const size_t kCommandCount;

// Command word -> handler, built before wmain runs. Look words up with at(): a missing word
// throws std::out_of_range, which the dispatcher answers with 160.
extern const std::unordered_map<std::wstring, CommandHandler> CommandTable;

}  // namespace tarn
