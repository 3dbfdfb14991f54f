// Probes of the operating system and of a restart pending after a removal of the agent.
#pragma once

#include <cstdint>

namespace tarn {

class Logger;

// 1 when the operating system is older than Windows 7, else 0.
uint32_t IsLegacyWindows(Logger* log);

// Whether a removal of the agent left a restart pending: the marker key in either registry view,
// else the agent's "PendingRestart". `required` is 0 or 1.
/// Returns a Win32 code: the session's, or 13 for a reply without a usable "PendingRestart";
/// `required` is 0 then. An absent agent is 0.
[[nodiscard]] uint32_t IsRebootRequired(uint32_t& required, Logger* log);

}  // namespace tarn
