// The handlers of update start and the on-demand scans: their answer is the agent's value, which
// the finish line carries too, and the scans parse their own wait argument.
#pragma once

#include <cstdint>

namespace tarn {

/// StartUpdate's code; the agent's value is printed on success.
[[nodiscard]] uint32_t HandleStartUpdate();
/// The scan's code (160 for a bad wait); the agent's value is printed on success.
[[nodiscard]] uint32_t HandleStartFullScan();
[[nodiscard]] uint32_t HandleStartQuickScan();

}  // namespace tarn
