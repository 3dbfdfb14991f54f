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

// Exit codes, each list shared by the rows it names. Code 0 always comes first.
constexpr ExitCode kCommonCodes[] = {
    {"0", "success"},
    {"8", "out of memory at start-up"},
    {"12", "the authorization gate refused the command"},
    {"160",
     "no command word, too many arguments, an unknown command word, wrong arguments for "
     "the command, or an unexpected failure inside it; nothing is printed (for wrong "
     "arguments `-runinstaller` and `-runsetupdownloader` print `0|||`)"},
};
constexpr ExitCode kAgentCodes[] = {
    {"2", "the agent is not installed or its files are missing"},
    {"3", "the reply was not the JSON the tool expects"},
    {"32", "another program holds the SDK library open for writing (also 33)"},
    {"50", "the SDK refused the request"},
    {"126", "the SDK library could not be loaded (or another Windows code)"},
    {"1168", "the SDK library is signed by someone other than \"Arvantis SRL\""},
    {"1403", "the signature check returned 0 without finding the file valid"},
    {"1460", "no reply within the reply wait"},
    {"5007", "the SDK library's signature has no time stamp (also 4316)"},
    {"other",
     "the Windows trust answer as unsigned (unsigned, tampered, revoked, untrusted root), the "
     "SDK's own code as unsigned, or the agent's non-zero error"},
};
constexpr ExitCode kGateCodes[] = {
    {"12",
     "refused: certificate, issuer or subject, a signature, a permission, the validity or "
     "the challenge did not check out"},
    {"85", "an option given twice"},
    {"87", "options incomplete, or an option word with no value after it"},
    {"110", "the certificate file cannot be read"},
    {"20", "the authorization names another endpoint"},
    {"30", "a hashed hardware id needs the agent's identity, and its services do not run"},
    {"2",
     "the nonce is missing (no challenge first, or already spent); also 3, 13, 18000, 18001, "
     "18003 for a malformed message"},
};

constexpr ExitCode kUninstallCodes[] = {
    {"0", "the removal ran and answered 0"},
    {"2", "the agent is not installed (`16010|||`), or no setup folder holds an `Installer.exe`"},
    {"3", "there is no `EndpointSetupInformation` folder"},
    {"30", "the agent's services are stopped (`30|||`)"},
    {"other", "the installer's exit code, or with the authorization options the agent's error"},
};
constexpr ExitCode kDetectCodes[] = {
    {"0", "installed: state 1 healthy, 2 critical issue, 4 invalid feature list"},
    {"2", "not installed (`0|||`)"},
    {"3017", "with `-r`: a restart is pending (`3|||`)"},
    {"30", "installed, but the services are stopped (`2|`)"},
    {"other", "the agent's code when the endpoint's identity cannot be gathered (`2|`)"},
};
constexpr ExitCode kInstallCodes[] = {
    {"0", "the installer ran and exited with 0"},
    {"13", "the installer XML cannot be edited as asked"},
    {"16", "the installer is a folder"},
    {"29", "the installer XML cannot be written"},
    {"32", "another program holds the installer open for writing (also 33)"},
    {"183", "detect failed but found the agent: the installation is refused"},
    {"1168", "the installer is signed by someone other than \"Arvantis SRL\""},
    {"4294967295", "the installer does not exist"},
    {"other", "the installer's own exit code, all 32 bits (e.g. 3010)"},
};
constexpr ExitCode kRebootCodes[] = {
    {"0", "answered, also when the agent is absent"},
    {"13", "the agent's status has no usable `PendingRestart`"},
};
constexpr ExitCode kAlwaysCodes[] = {{"0", "always"}};
constexpr ExitCode kInstallationLinkCodes[] = {
    {"0", "the library answered 0"},
    {"2", "there is no `kv.dll` beside the tool"},
    {"32", "another program holds `kv.dll` open for writing (also 33)"},
    {"127", "`kv.dll` has no `GetInstallationLinks` export"},
    {"1168", "`kv.dll` is signed by someone other than \"Arvantis SRL\""},
    {"1403", "the signature checked out but the file is not accepted"},
    {"5007", "the signature has no time stamp (also 4316)"},
    {"other", "the Windows trust answer, a failed load, or the library's own non-zero answer"},
};
constexpr ExitCode kQueryCodes[] = {{"0", "the agent answered"}};
constexpr ExitCode kUpdateStatusCodes[] = {
    {"0", "the agent answered"},
    {"160", "the agent has no such location"},
};
constexpr ExitCode kCriticalIssuesCodes[] = {
    {"0", "the agent answered"},
    {"775", "the SDK refused an instance or the registration"},
};
constexpr ExitCode kLastSystemScanCodes[] = {
    {"0", "answered, also with no scan log"},
    {"2", "the agent is not installed"},
    {"13", "the newest log of a scan is not a readable scan summary"},
    {"other", "the Windows error when a log folder cannot be listed or a log cannot be read"},
};
constexpr ExitCode kScanCodes[] = {
    {"0", "the agent answered"},
    {"1460", "with a wait: neither the reply nor the scan's event came within it"},
};
constexpr ExitCode kVersionCodes[] = {
    {"0", "success"},
    {"other", "the Windows error when the version resource cannot be read"},
};
constexpr ExitCode kEditFeaturesCodes[] = {
    {"0", "the agent accepted the change"},
    {"other", "the agent's own error"},
};
constexpr ExitCode kCompetitorCodes[] = {
    {"0", "the list, empty when the agent reported nothing for this request"},
    {"3", "the agent's report is malformed"},
    {"50", "the agent refused the request"},
    {"1460", "the answer or the report did not come in time"},
};
constexpr ExitCode kChallengeCodes[] = {
    {"0", "success"},
    {"other", "the failing step's Windows code"},
};

template <size_t N>
constexpr CommandContract Contract(const char* arguments, const char* answer,
                                   const ExitCode (&codes)[N], uint8_t traits) {
  return {arguments, answer, CodesOf(codes), traits};
}

}  // namespace

const ExitCodeList kCommonExitCodes = CodesOf(kCommonCodes);
const ExitCodeList kAgentQueryExitCodes = CodesOf(kAgentCodes);
const ExitCodeList kAuthorizationExitCodes = CodesOf(kGateCodes);

// Each row: command, word, argument rule and count, start lines, bad-arguments line, finish line
// and whether the code follows it, prints always, permissions, legacy support, reply time-out,
// product wait, and the contract: argument form, answer, exit codes, traits.
// Laid out by hand, so that a row reads as one record.
// clang-format off
constexpr CommandFacts kCommandFacts[kCommandRows] = {
    {Command::kUninstall, L"-uninstall", kHandlerParses, 2, {L"Starting uninstall"},
     L"Bad arguments for uninstall", nullptr, false, true, {{&kUninstallPermission}}, true,
     kDefaultReplyTimeout, kNoProductWait,
     Contract("none, or the uninstall password; none with the authorization options",
              "the outcome's code, `|||` and the endpoint's fields, e.g. "
              "`0|||0F3A9C2E-5B7D-4E11-8A6C-2D9B4F1E7A30|C-000451|`; printed on every path",
              kUninstallCodes, kAsksAgent)},
    {Command::kDetect, L"-detect", kHandlerParses, 2, {L"Starting TARN Detect"},
     L"Bad arguments for detect", nullptr, false, true, {}, false, kDefaultReplyTimeout,
     kNoProductWait,
     Contract("none, or `-r` (any letter case)",
              "state `|` hardware id `|` company id `|` group id, e.g. "
              "`1|0F3A9C2E-5B7D-4E11-8A6C-2D9B4F1E7A30|C-000451|Workstations`; printed on every "
              "path",
              kDetectCodes, kAsksAgent)},
    {Command::kRunSetupDownloader, L"-runsetupdownloader", kHandlerParses, 3,
     {L"Starting TARN installer with setup downloader"},
     L"Bad arguments. More or insufficient arguments were provided. \"-installerXml\" "
     L"<installerXmlPath> [-resumeAfterReboot] [-coreInstall] are required after "
     L"\"-runSetupDownloader\" and <setupDownloaderPath> was provided",
     nullptr, false, true, {}, false, kDefaultReplyTimeout, kNoProductWait,
     Contract("the setup downloader; or it, `-installerXml` and the XML, then up to two of "
              "`-resumeAfterReboot`, `-coreInstall`",
              "the final detect's answer; `0|||` when the installer did not run; printed on every "
              "path",
              kInstallCodes, kAsksAgent)},
    {Command::kRunInstaller, L"-runinstaller", kHandlerParses, 3,
     {L"Starting TARN installer with run installer"},
     L"Bad arguments. More or insufficient arguments were provided. \"-installerXml\" "
     L"<installerXmlPath> [-resumeAfterReboot] [-coreInstall] are required if "
     L"\"-runInstaller\" <installerPath> was provided",
     nullptr, false, true, {}, false, kDefaultReplyTimeout, kNoProductWait,
     Contract("the installer; or it, `-installerXml` and the XML, then up to two of "
              "`-resumeAfterReboot`, `-coreInstall`",
              "the final detect's answer; `0|||` when the installer did not run; printed on every "
              "path",
              kInstallCodes, kAsksAgent)},
    {Command::kCheckIfRebootRequired, L"-checkifrebootrequired", kAny, 2,
     {L"Check if reboot is required"}, nullptr, L"Finished checking for reboot required", false,
     true, {}, false, kDefaultReplyTimeout, kNoProductWait,
     Contract("any (ignored)",
              "`1` when a restart is pending, else `0`; printed on every path",
              kRebootCodes, kAgentQueryCodes)},
    {Command::kCheckIfLegacyVersion, L"-checkiflegacyversion", kAny, 2,
     {L"Check if is legacy version"}, nullptr, nullptr, false, true, {}, false,
     kDefaultReplyTimeout, kNoProductWait,
     Contract("any (ignored)",
              "`1` when Windows is older than Windows 7, else `0`",
              kAlwaysCodes, 0)},
    {Command::kCheckIs64BitOs, L"-checkis64bitos", kAny, 2, {L"Check if OS is 64 bit"}, nullptr,
     nullptr, false, true, {}, false, kDefaultReplyTimeout, kNoProductWait,
     Contract("any (ignored)",
              "`1`: the tool runs only on 64-bit Windows",
              kAlwaysCodes, 0)},
    {Command::kGetInstallationLink, L"-getinstallationlink", kHandlerParses, 8,
     {L"Getting installation link"}, L"Bad arguments. More or ignsufficient arguments provided",
     nullptr, false, false, {}, false, kDefaultReplyTimeout, kNoProductWait,
     Contract("`-kvUrl` URL, `-apiKey` KEY, `-packageName` NAME, in any order",
              "the links text of `kv.dll`",
              kInstallationLinkCodes, 0)},
    {Command::kCheckForUpdateErrors, L"-checkforupdateerrors", kExactly, 2,
     {L"Checking for update errors"}, L"Bad arguments. Invalid number of arguments",
     L"Finished checking for update errors successfully", false, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "`location=error` for every failed update location, joined by `|`",
              kQueryCodes, kAgentQueryCodes)},
    {Command::kGetUpdateStatus, L"-getupdatestatus", kExactly, 3, {L"Getting update status"},
     L"Bad arguments. No status provided", L"Finished getting update status successfully", false,
     false, {}, false, kDefaultReplyTimeout, kNoProductWait,
     Contract("one update location name (exact letter case)",
              "`error|time|lastSucceededTime` of that location",
              kUpdateStatusCodes, kAgentQueryCodes)},
    {Command::kHasCriticalIssues, L"-hascriticalissues", kExactly, 2,
     {L"Checking for critical issues"}, L"Bad arguments",
     L"Finished to get critical issues successfully", false, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "the names of the critical alerts, joined by `|`",
              kCriticalIssuesCodes, kAgentQueryCodes)},
    {Command::kIsUpToDate, L"-isuptodate", kExactly, 2, {L"Checking if TARN is up to date"},
     L"Bad arguments", nullptr, false, false, {}, false, kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "`1` when the agent counts as up to date, else `0`",
              kQueryCodes, kAgentQueryCodes)},
    {Command::kGetUpdateLocations, L"-getupdatelocations", kExactly, 2, {L"Get update locations"},
     L"Bad arguments", L"Update locations retrieved successfully", false, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "the names of the update locations, joined by `|`",
              kQueryCodes, kAgentQueryCodes)},
    {Command::kStartUpdate, L"-startupdate", kExactly, 2, {L"Start update"}, L"Bad arguments",
     L"Finished to start update with error code: ", true, false, {}, false, kDefaultReplyTimeout,
     kNoProductWait,
     Contract("none",
              "the agent's result, `0` when the update started",
              kQueryCodes, kAgentQueryCodes)},
    {Command::kGetProductVersion, L"-getproductversion", kExactly, 2, {L"Get product version"},
     L"Bad arguments", L"Finished to get product version with error code: ", true, false, {},
     false, kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "the agent's version, e.g. `12.3.1.7`",
              kQueryCodes, kAgentQueryCodes)},
    {Command::kGetLastUpdate, L"-getlastupdate", kExactly, 2, {L"Get last update"},
     L"Bad arguments", L"Finished to get last update with error code: ", true, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "the agent's last update time as it reports it",
              kQueryCodes, kAgentQueryCodes)},
    {Command::kGetFeatureStatus, L"-getfeaturestatus", kExactly, 2, {L"Get feature status"},
     L"Bad arguments", L"Finished to get feature status with error code: ", true, false, {},
     false, kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "`id=1` or `id=0` for every feature, joined by `|`",
              kQueryCodes, kAgentQueryCodes)},
    {Command::kGetLastSystemScan, L"-getlastsystemscan", kExactly, 2, {L"Get last system scan"},
     L"Bad arguments", L"Finished get last system scan with error code: ", true, false, {}, false,
     kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "the end time of the newest full scan, `|`, that of the newest quick scan (seconds "
              "since 1970)",
              kLastSystemScanCodes, 0)},
    {Command::kStartFullScan, L"-startfullscan", kHandlerParses, 2, {L"Starting full scan"},
     L"Bad arguments.", L"Finished starting full scan with error code: ", true, false, {}, false,
     std::chrono::hours(48), kNoProductWait,
     Contract("none, or a wait in milliseconds (digits only, raised to at least 5000)",
              "the agent's result: `0` started, `5023` failed to start, another number the "
              "agent's error",
              kScanCodes, kAgentQueryCodes | kWaitArgument)},
    {Command::kStartQuickScan, L"-startquickscan", kHandlerParses, 2, {L"Starting quick scan"},
     L"Bad arguments.", L"Finished starting quick scan with error code: ", true, false, {}, false,
     std::chrono::hours(6), kNoProductWait,
     Contract("none, or a wait in milliseconds (digits only, raised to at least 5000)",
              "the agent's result: `0` started, `5023` failed to start, another number the "
              "agent's error",
              kScanCodes, kAgentQueryCodes | kWaitArgument)},
    {Command::kGetVersion, L"-getversion", kExactly, 2, {L"Get RMM tool version"},
     L"Bad arguments.", L"Finished retrieving RMM Tool version with error code: ", true, false,
     {}, false, kDefaultReplyTimeout, kNoProductWait,
     Contract("none",
              "the tool's own product version, `a.b.c.d`",
              kVersionCodes, 0)},
    {Command::kEditFeatures, L"-editfeatures", kAtLeast, 4, {L"Modify TARN Features"},
     L"Bad arguments.", L"Finished edit TARN features with error code: ", true, false,
     {{&kAddFeaturesPermission, {L"-add", L"-set"}},
      {&kRemoveFeaturesPermission, {L"-remove", L"-set"}}},
     false, kDefaultReplyTimeout, kNoProductWait,
     Contract("edit words `-add`, `-remove` or `-set`, each followed by feature ids",
              "nothing",
              kEditFeaturesCodes, kAgentQueryCodes)},
    {Command::kCompetitorsAssessment, L"-competitorsassessment", kAny, 2,
     {L"TARN remove competitors assessment"}, nullptr,
     L"Finished remove TARN competitors assessment with error code: ", true, false,
     {{&kAssessmentPermission}}, false, kCompetitorReplyTimeout, std::chrono::hours(1),
     Contract("none (others are ignored)",
              "`id=<id>|productName=<name>|removalSupported=1` (or `0`) for every product, joined "
              "by `||`",
              kCompetitorCodes, kAgentQueryCodes)},
    {Command::kRemoveCompetitors, L"-removecompetitors", kAtLeast, 3,
     {L"TARN remove competitors"}, L"Bad arguments.",
     L"Finished remove TARN remove competitors with error code: ", true, false,
     {{&kRemovalPermission}}, false, kCompetitorReplyTimeout, std::chrono::hours(6),
     Contract("one or more product ids from the assessment",
              "`id=<id>|productName=<name>|status=<status>` for every product, joined by `||`",
              kCompetitorCodes, kAgentQueryCodes)},
    // Removing every competitor needs the same permission as removing chosen ones.
    {Command::kRemoveAllCompetitors, L"-removeallcompetitors", kExactly, 2,
     {L"TARN remove all competitors"}, L"Bad arguments.", nullptr, false, false,
     {{&kRemovalPermission}}, false, kCompetitorReplyTimeout, std::chrono::hours(6),
     Contract("none",
              "as `-removecompetitors`, for every product the assessment found",
              kCompetitorCodes, kAgentQueryCodes)},
    {Command::kGetChallenge, L"-getchallenge", kExactly, 3,
     {L"Get challenge command", L"Get challenge"}, L"Invalid arguments",
     L"Challenge retrieved successfully", false, false, {}, false, kDefaultReplyTimeout,
     kNoProductWait,
     Contract("one: the authorization text",
              "a fresh challenge, 64 lowercase hex digits",
              kChallengeCodes, 0)},
};
// clang-format on

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
