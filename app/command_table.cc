#include "app/command_table.h"

#include "app/handlers.h"

namespace tarn {

const CommandEntry kCommands[] = {
    {L"-checkiflegacyversion", HandleCheckIfLegacyVersion,
     "tells whether the operating system is older than Windows 7"},
    {L"-checkis64bitos", HandleCheckIs64BitOs, "tells whether the operating system is 64-bit"},
    {L"-getversion", HandleGetVersion, "reports this tool's own version"},
};
const size_t kCommandCount = sizeof(kCommands) / sizeof(kCommands[0]);

namespace {

std::unordered_map<std::wstring, CommandHandler> BuildCommandTable() {
  std::unordered_map<std::wstring, CommandHandler> table;
  for (const auto& command : kCommands) table.emplace(command.word, command.handler);
  return table;
}

}  // namespace

const std::unordered_map<std::wstring, CommandHandler> CommandTable = BuildCommandTable();

}  // namespace tarn
