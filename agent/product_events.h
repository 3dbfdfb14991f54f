// Waiting for the agent's product events: operations that the agent finishes after accepting the
// request report their end as an event, which the event callback queues.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// Runs after every reply. A non-zero `endpointSdkError` passes through unchanged. A command whose
// row names a product wait (the competitor commands) then waits that long for its product event;
// every other command returns 0 at once.
/// Returns the new EndpointSdkError: 0, or 1460 when the wait ran out.
[[nodiscard]] int64_t WaitProcessOnProduct(int64_t endpointSdkError, const std::wstring& commandName,
                             Logger* log);

}  // namespace tarn
