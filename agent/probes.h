// Probes of files and the operating system. Each logs its steps and reports failure as a Win32
// error code; none throws.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// 0 when `path` names an existing file that is not a directory, else 2.
uint32_t FileExists(const std::wstring& path, Logger* log);

// 1 when the operating system is older than Windows 7, else 0.
uint32_t IsLegacyWindows(Logger* log);

// Reads the product version of `path`'s version resource as "a.b.c.d" into `versionText`.
/// Returns a Win32 code; `versionText` is untouched on failure.
uint32_t GetFileVersionString(const std::wstring& path, std::string& versionText, Logger* log);

}  // namespace tarn

namespace tarn {

// The security service's key, whose "ImagePath" locates the agent.
inline constexpr const wchar_t* kSecurityServiceKey =
    L"SYSTEM\\CurrentControlSet\\Services\\OXSecurityService";

// Reads "ImagePath" of `keyPath` under HKEY_LOCAL_MACHINE with every double quote removed;
// arguments after the program stay. Returns a Win32 code.
uint32_t GetServiceImagePath(const std::wstring& keyPath, std::wstring& imagePath, Logger* log);

// True only when "OXIntegrationService" and "OXSecurityService" both exist and run.
bool AreAgentServicesRunning(Logger* log);

// Up to five checks of AreAgentServicesRunning, 5 s apart; true as soon as one passes.
bool WaitForAgentServices(Logger* log);

// Finds the agent's configuration file from the security service's directory. 0 with an empty
// path when the agent is not registered; 2 (legacy path in `path`) when only the legacy layout
// may exist; 0 with `servicesRunning` set to 1 once the services run (they are waited for).
uint32_t LocateAgentConfigFile(std::wstring& path, uint8_t& servicesRunning, Logger* log);

// Whether a removal of the agent left a restart pending: the marker key in either registry view,
// else the agent's "PendingRestart". `required` is 0 or 1. Returns a Win32 code.
uint32_t IsRebootRequired(uint32_t& required, Logger* log);

}  // namespace tarn
