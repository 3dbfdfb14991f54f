#include "base/command_facts.h"

#include "base/text.h"

namespace tarn {
namespace {

constexpr Permission kUninstallPermission{L"-uninstall", 3};
constexpr Permission kAssessmentPermission{L"-competitorsassessment", 19};
constexpr Permission kRemovalPermission{L"-removecompetitors", 20};
constexpr Permission kAddFeaturesPermission{L"-addfeatures", 21};
constexpr Permission kRemoveFeaturesPermission{L"-removefeatures", 22};

constexpr auto kExactly = ArgumentRule::kExactly;
constexpr auto kAtLeast = ArgumentRule::kAtLeast;
constexpr auto kAny = ArgumentRule::kAny;
constexpr auto kHandlerParses = ArgumentRule::kHandlerParses;

constexpr std::chrono::seconds kCompetitorReplyTimeout = std::chrono::minutes(5);

}  // namespace

// Each row: command, word, argument rule and count, start lines, bad-arguments line, finish line
// and whether the code follows it, prints always, permissions, legacy support, reply time-out,
// product wait.
constexpr CommandFacts kCommandFacts[kCommandRows] = {
    {Command::kUninstall, L"-uninstall", kHandlerParses, 2, {L"Starting uninstall"},
     L"Bad arguments for uninstall", nullptr, false, true, {{&kUninstallPermission}}, true,
     kDefaultReplyTimeout, kNoProductWait},
    {Command::kDetect, L"-detect", kHandlerParses, 2, {L"Starting TARN Detect"},
     L"Bad arguments for detect", nullptr, false, true, {}, false, kDefaultReplyTimeout,
     kNoProductWait},
    {Command::kRunSetupDownloader, L"-runsetupdownloader", kHandlerParses, 3,
     {L"Starting TARN installer with setup downloader"},
     L"Bad arguments. More or insufficient arguments were provided. \"-installerXml\" "
     L"<installerXmlPath> [-resumeAfterReboot] [-coreInstall] are required after "
     L"\"-runSetupDownloader\" and <setupDownloaderPath> was provided",
     nullptr, false, true, {}, false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kRunInstaller, L"-runinstaller", kHandlerParses, 3,
     {L"Starting TARN installer with run installer"},
     L"Bad arguments. More or insufficient arguments were provided. \"-installerXml\" "
     L"<installerXmlPath> [-resumeAfterReboot] [-coreInstall] are required if "
     L"\"-runInstaller\" <installerPath> was provided",
     nullptr, false, true, {}, false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kCheckIfRebootRequired, L"-checkifrebootrequired", kAny, 2,
     {L"Check if reboot is required"}, nullptr, L"Finished checking for reboot required", false,
     true, {}, false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kCheckIfLegacyVersion, L"-checkiflegacyversion", kAny, 2,
     {L"Check if is legacy version"}, nullptr, nullptr, false, true, {}, false,
     kDefaultReplyTimeout, kNoProductWait},
    {Command::kCheckIs64BitOs, L"-checkis64bitos", kAny, 2, {L"Check if OS is 64 bit"}, nullptr,
     nullptr, false, true, {}, false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kGetInstallationLink, L"-getinstallationlink", kHandlerParses, 8,
     {L"Getting installation link"}, L"Bad arguments. More or ignsufficient arguments provided",
     nullptr, false, false, {}, false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kCheckForUpdateErrors, L"-checkforupdateerrors", kExactly, 2,
     {L"Checking for update errors"}, L"Bad arguments. Invalid number of arguments",
     L"Finished checking for update errors successfully", false, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait},
    {Command::kGetUpdateStatus, L"-getupdatestatus", kExactly, 3, {L"Getting update status"},
     L"Bad arguments. No status provided", L"Finished getting update status successfully", false,
     false, {}, false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kHasCriticalIssues, L"-hascriticalissues", kExactly, 2,
     {L"Checking for critical issues"}, L"Bad arguments",
     L"Finished to get critical issues successfully", false, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait},
    {Command::kIsUpToDate, L"-isuptodate", kExactly, 2, {L"Checking if TARN is up to date"},
     L"Bad arguments", nullptr, false, false, {}, false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kGetUpdateLocations, L"-getupdatelocations", kExactly, 2, {L"Get update locations"},
     L"Bad arguments", L"Update locations retrieved successfully", false, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait},
    {Command::kStartUpdate, L"-startupdate", kExactly, 2, {L"Start update"}, L"Bad arguments",
     L"Finished to start update with error code: ", true, false, {}, false, kDefaultReplyTimeout,
     kNoProductWait},
    {Command::kGetProductVersion, L"-getproductversion", kExactly, 2, {L"Get product version"},
     L"Bad arguments", L"Finished to get product version with error code: ", true, false, {},
     false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kGetLastUpdate, L"-getlastupdate", kExactly, 2, {L"Get last update"},
     L"Bad arguments", L"Finished to get last update with error code: ", true, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait},
    {Command::kGetFeatureStatus, L"-getfeaturestatus", kExactly, 2, {L"Get feature status"},
     L"Bad arguments", L"Finished to get feature status with error code: ", true, false, {},
     false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kGetLastSystemScan, L"-getlastsystemscan", kExactly, 2, {L"Get last system scan"},
     L"Bad arguments", L"Finished get last system scan with error code: ", true, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait},
    {Command::kStartFullScan, L"-startfullscan", kHandlerParses, 2, {L"Starting full scan"},
     L"Bad arguments.", L"Finished starting full scan with error code: ", true, false, {}, false,
     std::chrono::hours(48), kNoProductWait},
    {Command::kStartQuickScan, L"-startquickscan", kHandlerParses, 2, {L"Starting quick scan"},
     L"Bad arguments.", L"Finished starting quick scan with error code: ", true, false, {}, false,
     std::chrono::hours(6), kNoProductWait},
    {Command::kGetVersion, L"-getversion", kExactly, 2, {L"Get RMM tool version"},
     L"Bad arguments.", L"Finished retrieving RMM Tool version with error code: ", true, false,
     {}, false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kEditFeatures, L"-editfeatures", kAtLeast, 4, {L"Modify TARN Features"},
     L"Bad arguments.", L"Finished edit TARN features with error code: ", true, false,
     {{&kAddFeaturesPermission, {L"-add", L"-set"}},
      {&kRemoveFeaturesPermission, {L"-remove", L"-set"}}},
     false, kDefaultReplyTimeout, kNoProductWait},
    {Command::kCompetitorsAssessment, L"-competitorsassessment", kAny, 2,
     {L"TARN remove competitors assessment"}, nullptr,
     L"Finished remove TARN competitors assessment with error code: ", true, false,
     {{&kAssessmentPermission}}, false, kCompetitorReplyTimeout, std::chrono::hours(1)},
    {Command::kRemoveCompetitors, L"-removecompetitors", kAtLeast, 3,
     {L"TARN remove competitors"}, L"Bad arguments.",
     L"Finished remove TARN remove competitors with error code: ", true, false,
     {{&kRemovalPermission}}, false, kCompetitorReplyTimeout, std::chrono::hours(6)},
    // Removing every competitor needs the same permission as removing chosen ones.
    {Command::kRemoveAllCompetitors, L"-removeallcompetitors", kExactly, 2,
     {L"TARN remove all competitors"}, L"Bad arguments.", nullptr, false, false,
     {{&kRemovalPermission}}, false, kCompetitorReplyTimeout, std::chrono::hours(6)},
    {Command::kGetChallenge, L"-getchallenge", kExactly, 3,
     {L"Get challenge command", L"Get challenge"}, L"Invalid arguments",
     L"Challenge retrieved successfully", false, false, {}, false, kDefaultReplyTimeout,
     kNoProductWait},
};

namespace {

constexpr bool RowsFollowTheirCommands() {
  for (size_t row = 0; row < kCommandRows; ++row) {
    if (static_cast<size_t>(kCommandFacts[row].command) != row) return false;
  }
  return true;
}
static_assert(RowsFollowTheirCommands(), "FactsOf finds a command's row by its position");

}  // namespace

const CommandFacts* FindCommandFacts(std::wstring_view word) {
  const std::wstring lower = ToLowerWide(word);
  for (const CommandFacts& facts : kCommandFacts) {
    if (lower == facts.word) return &facts;
  }
  return nullptr;
}

}  // namespace tarn
