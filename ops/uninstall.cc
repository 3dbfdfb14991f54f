#include "ops/uninstall.h"

#include <vector>

#include "agent/service_probes.h"
#include "base/command_facts.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

constexpr const wchar_t* kRemoveMethod = L"Product.Installer.InstallerRemove";

bool IsFile(uint32_t attributes) {
  return attributes != kInvalidFileAttributes && (attributes & kFileAttributeDirectory) == 0;
}

// The first folder under `setupFolder` (names beginning with "." left out) that holds an
// Installer.exe; empty when none does.
std::wstring FindSetupInstaller(const LifecycleSystem& system, const std::wstring& setupFolder,
                                const std::vector<FolderEntry>& entries) {
  for (const FolderEntry& entry : entries) {
    if (!entry.isFolder || entry.name.empty() || entry.name[0] == L'.') continue;
    const std::wstring candidate = setupFolder + L"\\" + entry.name + L"\\Installer.exe";
    if (IsFile(system.fileAttributes(candidate))) return candidate;
  }
  return std::wstring();
}

}  // namespace

uint32_t UninstallWithInstaller(const LifecycleSystem& system, const std::wstring* password,
                                std::string& answer, Logger* log) {
  WriteLog(log, L"Adding the result code: 16010");
  answer = LifecycleAnswer(kResultUninstallPreset);
  WriteLog(log, L"Get TARN Service Image Path");
  WriteLog(log, kSecurityServiceKey);
  std::wstring imagePath;
  if (const uint32_t code = LookUpAgentImagePath(system, imagePath, log); code != 0) return code;
  WriteLog(log, L"Retrieved TARN Service Image Path");
  const std::wstring folder = DirectoryOf(imagePath);
  const std::wstring configPath = folder + L"\\oxag\\oxag.jso";
  const std::wstring setupFolder = folder + L"\\EndpointSetupInformation";
  const std::wstring setupPattern = setupFolder + L"\\*";
  WriteLog(log, L"Assigning values to oxagJson and endpointSetupInformation");
  WriteLog(log, L"oxagJso: " + configPath);
  WriteLog(log, L"endpointSetupInformation: " + setupPattern);

  WriteLog(log, L"Check for running services");
  const bool running = system.waitForAgentServices(log);
  WriteLog(log, L"Retrieving endpoint information");
  EndpointFields fields;
  if (const uint32_t code = GatherEndpointFields(system, configPath, running, fields, log);
      code != 0) {
    WriteLog(log, L"Cannot retrieve endpoint information");
    answer = LifecycleAnswer(code);
    return code;
  }
  const std::string endpoint = fields.Joined();

  WriteLog(log, L"Finding Endpoint setup information file");
  std::vector<FolderEntry> entries;
  if (const uint32_t code = system.listFolder(setupPattern, entries); code != 0) {
    answer = LifecycleAnswer(code, endpoint);
    return LogFailure(log, L"Failed to find Endpoint setup information file with error: ", code);
  }
  const std::wstring installer = FindSetupInstaller(system, setupFolder, entries);
  if (installer.empty()) {
    WriteLog(log, L"Cannot find Installer.exe");
    answer = LifecycleAnswer(kErrorFileNotFound, endpoint);
    return kErrorFileNotFound;
  }
  WriteLog(log, L"Installer.exe found successfully. Path to installer: " + installer);

  WriteLog(log, L"Setting cmd path");
  const std::wstring interpreter = system.windowsDirectory() + L"\\System32\\cmd.exe";
  std::wstring commandLine = L" cmd /c \"" + installer + L"\" /remove /silent";
  WriteLog(log, L"Using the following uninstall command: " + commandLine);
  if (password != nullptr) {
    WriteLog(log, L"An uninstall password was given");
    commandLine += L" passmd5=" + *password;  // as the caller gave it: the installer hashes it
  }
  WriteLog(log, L"Running Uninstall TARN process");
  const uint32_t result = system.runProcess(interpreter, commandLine);
  WriteLog(log, L"Uninstall TARN process finished with error code: " + std::to_wstring(result));
  answer = LifecycleAnswer(result, endpoint);
  return result;
}

uint32_t UninstallWithSdk(const LifecycleSystem& system, std::string& answer, Logger* log) {
  answer = LifecycleAnswer(kResultUninstallPreset);
  WriteLog(log, L"Get TARN Service image path");
  WriteLog(log, kSecurityServiceKey);
  std::wstring imagePath;
  if (const uint32_t code = system.getServiceImagePath(kSecurityServiceKey, imagePath, log);
      code != 0) {
    if (code == kErrorFileNotFound) {
      WriteLog(log, L"Services are not found");
      return code;
    }
    return LogFailure(log, L"Failed to get TARN Service image path. Error code: ", code);
  }
  const std::wstring folder = DirectoryOf(imagePath);

  WriteLog(log, L"Search for running services");
  const bool running = system.waitForAgentServices(log);
  WriteLog(log, L"Get endpoint information using oxagng");
  EndpointFields fields;
  uint32_t code =
      GatherEndpointFields(system, folder + L"\\oxagng\\oxagng.jso", running, fields, log);
  if (code != 0) {
    WriteLog(log, L"Get endpoint information using oxag");
    code = GatherEndpointFields(system, folder + L"\\oxag\\oxag.jso", running, fields, log);
  }
  if (code != 0) {
    answer = LifecycleAnswer(code);
    return LogFailure(log, L"Failed to get endpoint information. Error code: ", code);
  }

  WriteLog(log, L"Execute OXSDK method");
  rapidjson::Document reply;
  int32_t apiError = 0;
  int64_t agentError = 0;
  const uint32_t session = system.executeSdkMethod(reply, apiError, agentError, kRemoveMethod, L"",
                                                   FactsOf(Command::kUninstall).word, log);
  if (session != 0) {
    answer = LifecycleAnswer(session, fields.Joined());
    return LogFailure(log, L"Failed to execute OXSDK method. Error code: ", session);
  }
  WriteLog(log, L"Finished to execute OXSDK method with error: " + std::to_wstring(agentError));
  answer = std::to_string(agentError) + "|||" + fields.Joined();  // as the agent answered it
  return static_cast<uint32_t>(agentError);
}

}  // namespace tarn
