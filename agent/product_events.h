// Waiting for the agent's product events: operations that the agent finishes after accepting the
// request report their end as an event, which the event callback queues. Three event threads
// consume the queue; `WaitProcessOnProduct` waits for them after the reply. All of them share the
// session state's one mutex and condition (agent/sdk_session_state.h).
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "agent/event_payloads.h"
#include "agent/event_thread.h"

namespace tarn {

class Logger;

// What the event threads leave for the operation that started them. The starter writes the run
// context before it starts its thread; everything else is guarded by the session mutex.
struct ProductEventResults {
  RunContext runContext;
  uint32_t scanEventResult = 0;  // 0 for ScanStarted, 5023 for ScanFailed
  int64_t assessmentResult = 0;
  std::vector<CompetitorEntry> assessment;
  int64_t removalResult = 0;
  std::vector<RemovalEntry> removal;
};

// The one set of results of the process; the starters pass it to their threads as the context.
extern ProductEventResults EventResults;

// Event thread bodies; `context` is the ProductEventResults to fill (null: return at once). Each
// takes events from the front of the queue, drops those it does not wait for, and ends when its
// event was taken (then raising the product-event-seen and wait-finished flags) or when the
// wait-finished flag is raised. None throws.
//
// ProcessProductEvents: a scan's start or failure; a reply that arrives first also ends it.
// ProcessScanCompetitorsEvents: the end of an assessment of this run (its run context).
// ProcessRemoveCompetitorsEvents: the end of a removal of this run.
/// Always 0: the outcome is in `context` and the flags.
[[nodiscard]] uint32_t ProcessProductEvents(void* context);
[[nodiscard]] uint32_t ProcessScanCompetitorsEvents(void* context);
[[nodiscard]] uint32_t ProcessRemoveCompetitorsEvents(void* context);

// How long an event thread may take to end once the wait-finished flag is up: it only has to
// wake and return, so reaching this bound means something is badly wrong.
inline constexpr std::chrono::milliseconds kEventThreadStopWait{20000};

// Raises the wait-finished flag, wakes every waiter and waits at most kEventThreadStopWait for
// `thread` to end. Returns the join's code.
[[nodiscard]] uint32_t StopEventThread(EventThread& thread);

// Runs after every reply. A non-zero `endpointSdkError` passes through unchanged. A command whose
// row names a product wait (the competitor commands) then waits that long for its product event
// (`timeout` replaces it when not negative, for tests); every other command returns 0 at once.
/// Returns the new EndpointSdkError: 0, or 1460 when the wait ran out.
[[nodiscard]] int64_t WaitProcessOnProduct(
    int64_t endpointSdkError, const std::wstring& commandName, Logger* log,
    std::chrono::milliseconds timeout = std::chrono::milliseconds(-1));

}  // namespace tarn
