#include "app/command_table.h"

#include "app/handlers.h"

namespace tarn {

const CommandEntry kCommands[] = {
    {L"-checkifrebootrequired", HandleCheckIfRebootRequired,
     "tells whether the machine must restart"},
    {L"-checkiflegacyversion", HandleCheckIfLegacyVersion,
     "tells whether the operating system is older than Windows 7"},
    {L"-checkis64bitos", HandleCheckIs64BitOs, "tells whether the operating system is 64-bit"},
    {L"-checkforupdateerrors", HandleCheckForUpdateErrors, "reports update errors"},
    {L"-getupdatestatus", HandleGetUpdateStatus, "reports one update location's status"},
    {L"-hascriticalissues", HandleHasCriticalIssues, "reports critical issues"},
    {L"-isuptodate", HandleIsUpToDate, "tells whether the agent is up to date"},
    {L"-getupdatelocations", HandleGetUpdateLocations, "reports the update locations"},
    {L"-getproductversion", HandleGetProductVersion, "reports the agent's version"},
    {L"-getlastupdate", HandleGetLastUpdate, "reports the time of the last update"},
    {L"-getfeaturestatus", HandleGetFeatureStatus, "reports the state of the agent's features"},
    {L"-getversion", HandleGetVersion, "reports this tool's own version"},
    {L"-getchallenge", HandleGetChallenge, "issues an authorization challenge"},
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
