// The argument checks of "-runinstaller" and "-runsetupdownloader", in their order: the program
// alone; or the program, "-installerXml" and an existing XML file, then up to two of the flags
// "-resumeAfterReboot" and "-coreInstall", each at most once (words in any letter case).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ops/install.h"

namespace tarn {

class Logger;

// The file test: 0 when the path names an existing file.
using FileCheck = std::function<uint32_t(const std::wstring& path, Logger* log)>;

// Checks the first `argumentCount` elements of `arguments` (program path, command word, ...).
/// Returns 0 with `request` filled; 160 after logging `badArguments`, "Bad additional argument."
/// or the repeated flag's line; or the file test's code ("Installer not found. Error code: ").
[[nodiscard]] uint32_t CheckInstallArguments(const std::vector<std::wstring>& arguments,
                                             int32_t argumentCount, const wchar_t* badArguments,
                                             const FileCheck& fileExists, InstallRequest& request,
                                             Logger* log);

}  // namespace tarn
