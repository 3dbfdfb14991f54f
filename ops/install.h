// Installing the agent: with its installer, or through its setup downloader, each with an
// installer XML that may be edited first. The installer is started only when it is the maker's,
// and the file that was checked is the file that starts.
#pragma once

#include <cstdint>
#include <string>

#include "ops/lifecycle_system.h"

namespace tarn {

// An install command, its arguments checked.
struct InstallRequest {
  std::wstring programPath;  // the installer or the setup downloader
  std::wstring xmlPath;      // the installer XML; empty: none
  bool resumeAfterReboot = false;
  bool coreInstall = false;
};

// Run installer. Refuses with 183 when a detect that fails still finds the agent (a detect that
// succeeds lets the installation go on, whatever it found). The installer, and the XML when given,
// must be files; the installer is held against changes, checked for the maker's signature and
// run with " configFile="<xml>" /arparams /silent" (without the XML part when none is given);
// then a final detect fills `answer`.
/// Returns the installer's exit code; 183; the attribute word of a path that is no file
/// (4294967295 when missing); a hold conflict (32, 33); the signature check's code, or 1403.
[[nodiscard]] uint32_t RunInstaller(const LifecycleSystem& system,
                                    const std::wstring& installerPath, const std::wstring& xmlPath,
                                    std::string& answer, Logger* log);

// "-runinstaller" and "-runsetupdownloader" after their argument checks: the XML edits the
// request asks for, then run installer, directly or after moving the setup downloader and the XML
// into the setup downloader's folder as "setupdownloader.exe" and "installer.xml". `answer` keeps
// what the caller preset unless the installer ran.
/// Returns the XML edit's or the move's code when one fails, else RunInstaller's.
[[nodiscard]] uint32_t InstallWithInstaller(const LifecycleSystem& system,
                                            const InstallRequest& request, std::string& answer,
                                            Logger* log);
[[nodiscard]] uint32_t InstallWithSetupDownloader(const LifecycleSystem& system,
                                                  const InstallRequest& request,
                                                  std::string& answer, Logger* log);

}  // namespace tarn
