// What the agent's life-cycle operations (detect, install, uninstall) ask of the machine and of
// the agent, as one table of functions. The Windows build fills it with the probes, the SDK
// session, the signature check and the process runner (lifecycle_system_win.cc); the unit tests
// fill it with fakes, so the operations' own steps are tested on every platform.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/file_hold.h"

namespace tarn {

class Logger;

// The attribute word of a path that does not exist, and the bit of a folder.
inline constexpr uint32_t kInvalidFileAttributes = 0xFFFFFFFF;
inline constexpr uint32_t kFileAttributeDirectory = 0x10;

// One entry of a folder listing.
struct FolderEntry {
  std::wstring name;
  bool isFolder = false;
};

struct LifecycleSystem {
  // Service and agent probes, endpoint identity, status and the SDK session.
  std::function<uint32_t(const std::wstring& keyPath, std::wstring& imagePath, Logger* log)>
      getServiceImagePath;
  std::function<bool(Logger* log)> waitForAgentServices;
  std::function<uint32_t(uint32_t& required, Logger* log)> isRebootRequired;
  std::function<uint32_t(std::string& payload, Logger* log)> getCriticalIssues;
  std::function<uint32_t(std::string* hardwareId, std::string* groupId, std::string* companyId,
                         const std::wstring& configPath, bool askAgentFirst, Logger* log)>
      getEndpointInformation;
  std::function<uint32_t(rapidjson::Document& reply, int32_t& apiError, int64_t& endpointSdkError,
                         const std::wstring& methodKey, const std::wstring& explicitRequest,
                         const std::wstring& commandName, Logger* log)>
      executeSdkMethod;

  // Files and folders. `fileAttributes` gives the raw attribute word, kInvalidFileAttributes
  // when the path does not exist; `listFolder` the entries a wildcard `pattern` matches, in the
  // file system's order (returns the enumeration's Win32 code).
  std::function<uint32_t(const std::wstring& path)> fileAttributes;
  std::function<uint32_t(const std::wstring& pattern, std::vector<FolderEntry>& entries)>
      listFolder;
  std::function<std::wstring()> windowsDirectory;
  // Replaces an existing target and may copy across volumes; returns a Win32 code.
  std::function<uint32_t(const std::wstring& from, const std::wstring& to)> moveFile;

  // The maker's signature, the hold that keeps a checked file as it was, the child process.
  std::function<uint32_t(const std::wstring& path, FileHold& hold)> holdFileForUse;
  std::function<uint32_t(bool& isValid, const std::wstring& path,
                         const std::wstring& expectedSubject, Logger* log)>
      validateModuleSignature;
  std::function<uint32_t(const std::wstring& applicationPath, const std::wstring& commandLine)>
      runProcess;
};

// The machine the tool runs on (Windows only).
const LifecycleSystem& WindowsLifecycleSystem();

// The answer of uninstall and install steps: the code in decimal, "|||", then `endpoint`.
std::string LifecycleAnswer(uint32_t code, const std::string& endpoint = "");

// The endpoint's three fields as the answers carry them: hardware id|company id|group id.
struct EndpointFields {
  std::string hardwareId;
  std::string companyId;
  std::string groupId;

  std::string Joined() const { return hardwareId + "|" + companyId + "|" + groupId; }
};

// Gathers the fields from the configuration file at `configPath`, asking the agent first when
// `askAgent`. Returns GetEndpointInformation's code (30 whenever the agent was not asked).
[[nodiscard]] uint32_t GatherEndpointFields(const LifecycleSystem& system,
                                            const std::wstring& configPath, bool askAgent,
                                            EndpointFields& fields, Logger* log);

// The security service's image path, for detect and the installer route of uninstall. A failure
// logs "File not found. TARN is not present" (2) or "Failed to retrieve TARN Service Image Path".
/// Returns 0 or the lookup's code; `imagePath` is only meaningful on 0.
[[nodiscard]] uint32_t LookUpAgentImagePath(const LifecycleSystem& system, std::wstring& imagePath,
                                            Logger* log);

}  // namespace tarn
