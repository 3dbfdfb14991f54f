// Update start and on-demand scans: requests the agent accepts at once and carries out later. A
// scan given an explicit wait (SessionState.explicitTimeoutMs) waits for the agent's report of
// the scan's start or failure on an event thread; without one it waits for the reply only.
#pragma once

#include <cstdint>
#include <string>

#include "agent/agent_platform.h"

namespace tarn {

class Logger;

// Asks the agent to update ("Update.StartUpdate", the "-startupdate" reply wait of 10 s).
/// The session's result; `endpointSdkError` gets the agent's "error" when the reply was read.
[[nodiscard]] uint32_t StartUpdate(int64_t& endpointSdkError, const AgentPlatform& platform,
                                   Logger* log);

// Starts a full or quick scan; `commandName` chooses the reply wait. No event thread is left
// running on any path.
/// The session's result, or 1460 when neither the reply nor the scan's event came within the
/// explicit wait. On 0 `endpointSdkError` holds the agent's "error", or the scan's event (0
/// started, 5023 failed) when that came before the reply.
[[nodiscard]] uint32_t StartFullScan(int64_t& endpointSdkError, const std::wstring& commandName,
                                     const AgentPlatform& platform, Logger* log);
[[nodiscard]] uint32_t StartQuickScan(int64_t& endpointSdkError, const std::wstring& commandName,
                                      const AgentPlatform& platform, Logger* log);

}  // namespace tarn
