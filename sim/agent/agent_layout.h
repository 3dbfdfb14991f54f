// Where the simulated agent keeps its files, services and registry state, and the names of the
// stand-in modules. One place, so the control library, the stand-ins and the tests agree.
#pragma once

#include <filesystem>
#include <string>

namespace tarn::sim {

// The agent's installation folder: the security service's image and oxsdk.dll live here.
inline constexpr wchar_t kAgentDirectory[] = L"C:\\Program Files\\Arvantis\\TARN";

inline constexpr wchar_t kIntegrationServiceName[] = L"OXIntegrationService";
inline constexpr wchar_t kSecurityServiceName[] = L"OXSecurityService";
inline constexpr wchar_t kServicesKey[] = L"SYSTEM\\CurrentControlSet\\Services";
inline constexpr wchar_t kSecurityServiceKey[] =
    L"SYSTEM\\CurrentControlSet\\Services\\OXSecurityService";
inline constexpr wchar_t kRebootMarkerKey[] = L"SOFTWARE\\Endpoint Security.removed";

// The stand-in service program, installed once per service under the agent's image names.
inline constexpr wchar_t kServiceProgram[] = L"oxsvc.exe";
inline constexpr wchar_t kIntegrationServiceImage[] = L"oxintsvc.exe";
inline constexpr wchar_t kSecurityServiceImage[] = L"oxsecsvc.exe";
// Real installations start their services with an argument after the quoted image path.
inline constexpr wchar_t kServiceArgument[] = L"-service";

// Scan task ids; each names a folder of scan logs under Logs\system.
inline constexpr wchar_t kFullScanTaskId[] = L"dcf483c4-26d0-4e6f-ba28-6a53a00adae1";
inline constexpr wchar_t kQuickScanTaskId[] = L"da29f7c8-23b1-4974-8d11-209959ac694b";

// The folder under EndpointSetupInformation that holds the agent's own Installer.exe.
inline constexpr wchar_t kSetupFolderName[] = L"{3F6A2C1D-8B4E-4F7A-9C2D-5E1B0A7F6C3D}";

// The simulator's own files inside the agent directory (read and written by oxsdk.dll).
inline constexpr wchar_t kSimFolder[] = L"sim";
inline constexpr wchar_t kScenarioFile[] = L"scenario.json";
inline constexpr wchar_t kJournalFile[] = L"journal.jsonl";

// The stand-in modules that have signed variants.
enum class Module { kOxsdk, kKv, kInstaller, kSetupDownloader };

// "oxsdk.dll", "kv.dll", "Installer.exe", "setupdownloader.exe".
const wchar_t* ModuleFileName(Module module);
// Parses "oxsdk", "kv", "installer", "setupdownloader" (or the file name); false if unknown.
bool ParseModule(const std::wstring& word, Module* module);

// What a stand-in reads beside itself to decide its answer: "<stem>.sim.txt".
std::filesystem::path BehaviorFile(Module module, const std::filesystem::path& dir);
// What a stand-in appends to beside itself on every start or call: "Installer.calls.txt",
// "setupdownloader.calls.txt" (one command line per line), "kv.calls.jsonl" (one JSON object per
// call). oxsdk.dll records in the agent's journal instead.
std::filesystem::path CallRecordFile(Module module, const std::filesystem::path& dir);
// Where Installer.exe and setupdownloader.exe record their working folder on every start:
// "Installer.cwd.txt", "setupdownloader.cwd.txt".
std::filesystem::path WorkingFolderRecordFile(Module module, const std::filesystem::path& dir);

std::filesystem::path AgentDirectory();
std::filesystem::path SetupInstallerPath();  // the agent's own Installer.exe
std::filesystem::path ScenarioPath();
std::filesystem::path JournalPath();

}  // namespace tarn::sim
