// Waiting for the agent's product events: operations that the agent finishes after accepting the
// request report their end as an event, which the event callback queues.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// Runs after every reply. A non-zero `endpointSdkError` passes through unchanged. The competitor
// commands then wait for their product event (assessment up to 3600 s, removal up to 21600 s);
// every other command returns 0 at once. A wait that runs out ends the command with 1460.
int64_t WaitProcessOnProduct(int64_t endpointSdkError, const std::wstring& commandName,
                             Logger* log);

}  // namespace tarn
