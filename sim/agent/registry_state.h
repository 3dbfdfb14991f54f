// Registry state around the agent that tests set up: the reboot marker an uninstallation leaves,
// and the security service's key taken away (and put back) behind the service manager's back.
//
// Every function returns a Win32 error code (0 = success).
#pragma once

#include <cstdint>

namespace tarn::sim {

enum class RegistryView { k64Bit, k32Bit };

[[nodiscard]] uint32_t SetRebootMarker(RegistryView view);
// Removes the marker from both views; absence is no error.
[[nodiscard]] uint32_t ClearRebootMarker();
[[nodiscard]] uint32_t QueryRebootMarker(RegistryView view, bool* present);

// Moves the security service's key aside: the service stays registered, but its key, and so
// its "ImagePath", is gone. Restore moves it back.
[[nodiscard]] uint32_t DeleteSecurityServiceKey();
[[nodiscard]] uint32_t RestoreSecurityServiceKey();
// Forgets a key moved aside (the agent's removal does this).
[[nodiscard]] uint32_t DropSavedSecurityServiceKey();

}  // namespace tarn::sim
