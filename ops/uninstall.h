// Removing the agent: with its own installer through the command interpreter (legacy commands),
// or by asking the running agent through the SDK (commands authorized through the service). Both
// identify the endpoint first and answer with the code, "|||" and the endpoint's fields.
#pragma once

#include <cstdint>
#include <string>

#include "ops/lifecycle_system.h"

namespace tarn {

// The installer route: runs
//   <windows>\System32\cmd.exe " cmd /c "<setup folder>\Installer.exe" /remove /silent"
// with " passmd5=" and the password appended as given when `password` is not null. `answer`:
// "16010|||" until the endpoint is identified, "code|||" when it cannot be, then
// "code|||hwid|company|group". The endpoint is read from "\oxag\oxag.jso", the agent asked only
// while its services run; when that fails the installer is not looked for.
/// Returns the interpreter's exit code, or the failing step's code (2 when no setup folder holds
/// an Installer.exe).
[[nodiscard]] uint32_t UninstallWithInstaller(const LifecycleSystem& system,
                                              const std::wstring* password, std::string& answer,
                                              Logger* log);

// The SDK route: "Product.Installer.InstallerRemove" with the uninstall link of the build's
// TARN_UNINSTALL_HOST. `answer` as above, the code being the agent's "error" (or the session's
// code when the request failed).
/// Returns the session's code when it failed, else the agent's "error" as unsigned.
[[nodiscard]] uint32_t UninstallWithSdk(const LifecycleSystem& system, std::string& answer,
                                        Logger* log);

}  // namespace tarn
