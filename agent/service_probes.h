// Where the agent lives and whether its services run.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// The security service's key, whose "ImagePath" locates the agent.
inline constexpr const wchar_t* kSecurityServiceKey =
    L"SYSTEM\\CurrentControlSet\\Services\\OXSecurityService";

// Reads "ImagePath" of `keyPath` under HKEY_LOCAL_MACHINE with every double quote removed;
// arguments after the program stay.
/// Returns a Win32 code; `imagePath` is untouched on failure.
[[nodiscard]] uint32_t GetServiceImagePath(const std::wstring& keyPath, std::wstring& imagePath,
                                           Logger* log);

// True only when "OXIntegrationService" and "OXSecurityService" both exist and run.
bool AreAgentServicesRunning(Logger* log);

// Up to five checks of AreAgentServicesRunning, 5 s apart; true as soon as one passes.
bool WaitForAgentServices(Logger* log);

// Finds the agent's configuration file from the security service's directory. 0 with an empty
// path when the agent is not registered; 2 (legacy path in `path`) when only the legacy layout
// may exist; 0 with `servicesRunning` set to 1 once the services run (they are waited for).
/// Returns GetServiceImagePath's code otherwise.
[[nodiscard]] uint32_t LocateAgentConfigFile(std::wstring& path, uint8_t& servicesRunning,
                                             Logger* log);

}  // namespace tarn
