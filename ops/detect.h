// Detect: whether the agent is installed, whether its services run and whether it reports a
// blocking issue, with the endpoint's identity. The answer is the state, then the endpoint's
// fields: "1|hwid|company|group".
#pragma once

#include <cstdint>
#include <string>

#include "ops/lifecycle_system.h"

namespace tarn {

// The one critical issue that has a state of its own (4), compared exactly.
inline constexpr const char* kInvalidFeatureListIssue = "Product.InvalidFeatureList";

// Fills `answer`: "3|||" with the reboot flag while a restart is pending; "0|||" when the agent is
// not present; otherwise "1|", "2|" or "4|" and the endpoint's fields, or "2|" alone when they
// cannot be gathered. The agent is asked for its identity only while its services run.
/// Returns 3017 for the pending restart, the image path probe's code when the agent is not
/// present, else the endpoint gather's code (0 when gathered, 30 when the agent was not asked).
[[nodiscard]] uint32_t Detect(const LifecycleSystem& system, bool rebootFlag, std::string& answer,
                              Logger* log);

}  // namespace tarn
