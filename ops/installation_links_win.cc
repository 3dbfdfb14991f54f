// kv.dll: checked, loaded, asked once, unloaded.
#include <windows.h>

#include "agent/system_probes.h"
#include "auth/module_signature.h"
#include "base/file_hold.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/win_handles.h"
#include "ops/installation_links.h"

namespace tarn {
namespace {

// The export takes the library's own string objects: it is built by the same compiler and
// standard library as the tool, so both agree on their layout and share one heap.
using GetInstallationLinksExport = uint32_t (*)(std::string& links, const std::string& kvUrl,
                                                const std::string& apiKey,
                                                const std::string& packageName, int32_t legacy);

// A relative path (the tool started by a bare name) made absolute, so that the file checked is
// the file loaded and the loader does not go searching for another one of that name.
std::wstring FullPath(const std::wstring& path) {
  const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  if (size == 0) return path;
  std::wstring full(size, L'\0');
  const DWORD length = GetFullPathNameW(path.c_str(), size, full.data(), nullptr);
  if (length == 0 || length >= size) return path;
  full.resize(length);
  return full;
}

}  // namespace

uint32_t GetInstallationLinks(std::string& links, const std::wstring& libraryPath,
                              const InstallationLinkOptions& options, Logger* log) {
  return GetInstallationLinks(links, libraryPath, options, ValidateModuleSignature, log);
}

uint32_t GetInstallationLinks(std::string& links, const std::wstring& libraryPath,
                              const InstallationLinkOptions& options, ModuleSignatureCheck check,
                              Logger* log) {
  links.clear();
  WriteLog(log, L"Searching for \"kv.dll\"");
  const std::wstring path = FullPath(libraryPath);
  // Held from before the check until it is loaded, so that the file loaded is the file checked.
  FileHold held;
  bool isValid = false;
  uint32_t status = HoldFileAgainstChanges(path, held);
  if (status == 0) status = check(isValid, path, kMakerSigner, log);
  if (status != 0) return LogFailure(log, L"Failed to validate kv.dll. Error code: ", status);
  if (!isValid) {
    WriteLog(log, L"kv.dll is not valid");
    return kErrorNotValidlySigned;
  }

  // The DLL search directory stays as it is: the library is named by its full path.
  UniqueHmodule library(LoadLibraryW(path.c_str()));
  if (!library) {
    WriteLog(log, L"Library not found. Loading with altered search path");
    library.reset(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!library) {
      return LogFailure(log, L"Library not found. Failed with error: ",
                        LastErrorOr(ERROR_MOD_NOT_FOUND));
    }
  }
  held.reset();

  WriteLog(log, L"Set the \"GetInstallationLinks\" handle");
  const auto getLinks = reinterpret_cast<GetInstallationLinksExport>(
      reinterpret_cast<void*>(GetProcAddress(library.get(), "GetInstallationLinks")));
  if (getLinks == nullptr) {
    library.reset();  // keeps the lookup's last error
    return LogFailure(log, L"Handle not found: Failed with error",
                      LastErrorOr(ERROR_PROC_NOT_FOUND));
  }

  WriteLog(log, L"Retrieve the installation links");
  std::string output;
  const uint32_t result = getLinks(output, options.kvUrl, options.apiKey, options.packageName,
                                   static_cast<int32_t>(IsLegacyWindows(log)));
  WriteLog(log, L"Method finished with exit code: " + std::to_wstring(result));
  library.reset();
  if (result == 0) links = std::move(output);
  return result;
}

}  // namespace tarn
