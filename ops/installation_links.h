// Installation links: the console's library "kv.dll", proven to be the maker's, asked for the
// links of an installation package.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {

class Logger;

// The values of "-kvUrl", "-apiKey" and "-packageName", as UTF-8 for the library.
struct InstallationLinkOptions {
  std::string kvUrl;
  std::string apiKey;
  std::string packageName;
};

// Reads exactly three option pairs after the command word, in any order, option words in any
// letter case.
/// 0 with `options` filled, or 160 after logging what is wrong (`options` then partly filled).
[[nodiscard]] uint32_t ParseInstallationLinkOptions(const std::vector<std::wstring>& arguments,
                                                    int32_t argumentCount,
                                                    InstallationLinkOptions& options, Logger* log);

// The signature check the library must pass before it is loaded (ValidateModuleSignature).
/// 0 with the verdict in `isValid`, or the check's code.
using ModuleSignatureCheck = uint32_t (*)(bool& isValid, const std::wstring& filePath,
                                          const std::wstring& expectedSubject, Logger* log);

// Checks and loads the library at `libraryPath`, calls its "GetInstallationLinks" and unloads it
// (Windows only).
/// The export's result, `links` filled only when it is 0; or the failing step's code (the check's,
/// 1403, the load's or the export lookup's) with `links` empty.
[[nodiscard]] uint32_t GetInstallationLinks(std::string& links, const std::wstring& libraryPath,
                                            const InstallationLinkOptions& options, Logger* log);
[[nodiscard]] uint32_t GetInstallationLinks(std::string& links, const std::wstring& libraryPath,
                                            const InstallationLinkOptions& options,
                                            ModuleSignatureCheck check, Logger* log);

}  // namespace tarn
