// The life-cycle operations' view of the machine: the probes, the SDK session, the signature
// check, the process runner and a few file calls.
#include <windows.h>

#include "agent/endpoint_identity.h"
#include "agent/process_runner.h"
#include "agent/sdk_session.h"
#include "agent/service_probes.h"
#include "agent/system_probes.h"
#include "auth/module_signature.h"
#include "base/win_handles.h"
#include "ops/lifecycle_system.h"
#include "ops/product_status.h"

namespace tarn {
namespace {

[[nodiscard]] uint32_t FileAttributes(const std::wstring& path) {
  return GetFileAttributesW(path.c_str());
}

/// 0, or the enumeration's Win32 code; `entries` is untouched on failure.
[[nodiscard]] uint32_t ListFolder(const std::wstring& pattern, std::vector<FolderEntry>& entries) {
  WIN32_FIND_DATAW found{};
  UniqueFindHandle find(FindFirstFileW(pattern.c_str(), &found));
  if (!find) return LastErrorOr(ERROR_PATH_NOT_FOUND);
  std::vector<FolderEntry> listed;
  do {
    listed.push_back({found.cFileName, (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0});
  } while (FindNextFileW(find.get(), &found));
  if (const DWORD error = GetLastError(); error != ERROR_NO_MORE_FILES) return error;
  entries = std::move(listed);
  return 0;
}

std::wstring WindowsDirectory() {
  wchar_t directory[MAX_PATH];
  const UINT length = GetWindowsDirectoryW(directory, MAX_PATH);
  return length > 0 && length < MAX_PATH ? std::wstring(directory, length) : std::wstring();
}

/// 0, or the move's Win32 code.
[[nodiscard]] uint32_t MoveFileReplacing(const std::wstring& from, const std::wstring& to) {
  return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)
             ? 0
             : LastErrorOr(ERROR_GEN_FAILURE);
}

LifecycleSystem MakeWindowsLifecycleSystem() {
  LifecycleSystem system;
  system.getServiceImagePath = GetServiceImagePath;
  system.waitForAgentServices = WaitForAgentServices;
  system.isRebootRequired = IsRebootRequired;
  system.getCriticalIssues = GetCriticalIssues;
  system.getEndpointInformation = GetEndpointInformation;
  system.executeSdkMethod = ExecuteSdkMethod;
  system.fileAttributes = FileAttributes;
  system.listFolder = ListFolder;
  system.windowsDirectory = WindowsDirectory;
  system.moveFile = MoveFileReplacing;
  system.holdFileForUse = HoldFileForUse;
  system.validateModuleSignature = [](bool& isValid, const std::wstring& path,
                                      const std::wstring& expectedSubject, Logger* log) {
    return ValidateModuleSignature(isValid, path, expectedSubject, log);
  };
  system.runProcess = RunProcess;
  return system;
}

}  // namespace

const LifecycleSystem& WindowsLifecycleSystem() {
  static const LifecycleSystem system = MakeWindowsLifecycleSystem();
  return system;
}

}  // namespace tarn
