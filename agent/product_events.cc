#include "agent/product_events.h"

#include <chrono>
#include <utility>

#include "agent/sdk_session_state.h"
#include "base/command_facts.h"
#include "base/log.h"
#include "base/result_codes.h"

namespace tarn {

ProductEventResults EventResults;

namespace {

using Event = std::pair<std::string, std::string>;  // (name, payload)

// Takes the next queued event into `event`. Returns false, taking nothing, once the wait-finished
// flag is up or, with `endOnReply`, once the reply has arrived.
//
// This wait has no deadline of its own: every way out of the operation that started the thread
// raises the wait-finished flag, which ends it.
bool NextEvent(Event& event, bool endOnReply) {
  std::unique_lock<std::mutex> lock(SessionState.mutex);
  SessionState.changed.wait(lock, [&] {
    return SessionState.waitFinished.load() || !SessionState.events.empty() ||
           (endOnReply && SessionState.replyReceived.load());
  });
  if (endOnReply && SessionState.replyReceived.load()) {
    lock.unlock();
    RaiseFlag(SessionState, SessionState.waitFinished);
    return false;
  }
  if (SessionState.waitFinished.load()) return false;
  event = std::move(SessionState.events.front());
  SessionState.events.pop_front();
  return true;
}

// Leaves the outcome and tells every waiter that the awaited event has come.
template <typename Store>
void TakeOutcome(Store store) {
  {
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    store();
    SessionState.productEventSeen.exchange(true);
    SessionState.waitFinished.exchange(true);
  }
  SessionState.changed.notify_all();
}

// Waits for `awaitedName` of this run and leaves what `read` makes of its payload. Events of
// another run are dropped and the wait goes on.
template <typename Entry, typename Reader>
void AwaitCompetitorEvent(ProductEventResults& results, const char* awaitedName, Reader read,
                          int64_t ProductEventResults::*result,
                          std::vector<Entry> ProductEventResults::*list) {
  Event event;
  while (NextEvent(event, false)) {
    if (event.first != awaitedName) continue;
    int64_t code = 0;
    std::vector<Entry> entries;
    if (!read(event.second, results.runContext, code, entries)) continue;
    TakeOutcome([&] {
      results.*result = code;
      results.*list = std::move(entries);
    });
    return;
  }
}

// No exception may leave a thread: one that escapes still releases every waiter.
template <typename Body>
uint32_t RunEventThread(void* context, Body body) {
  if (context == nullptr) return 0;
  try {
    body(*static_cast<ProductEventResults*>(context));
  } catch (...) {
    RaiseFlag(SessionState, SessionState.waitFinished);
  }
  SessionState.changed.notify_all();
  return 0;
}

}  // namespace

uint32_t ProcessProductEvents(void* context) {
  return RunEventThread(context, [](ProductEventResults& results) {
    Event event;
    while (NextEvent(event, true)) {
      // Exact names: the same words in another letter case are another event.
      const bool started = event.first == kScanStartedEvent;
      if (started || event.first == kScanFailedEvent) {
        TakeOutcome([&] { results.scanEventResult = started ? 0 : kResultScanFailed; });
        return;
      }
    }
  });
}

uint32_t ProcessScanCompetitorsEvents(void* context) {
  return RunEventThread(context, [](ProductEventResults& results) {
    AwaitCompetitorEvent(results, kAssessmentEndedEvent, ReadAssessmentEvent,
                         &ProductEventResults::assessmentResult, &ProductEventResults::assessment);
  });
}

uint32_t ProcessRemoveCompetitorsEvents(void* context) {
  return RunEventThread(context, [](ProductEventResults& results) {
    AwaitCompetitorEvent(results, kRemovalEndedEvent, ReadRemovalEvent,
                         &ProductEventResults::removalResult, &ProductEventResults::removal);
  });
}

uint32_t StopEventThread(EventThread& thread) {
  RaiseFlag(SessionState, SessionState.waitFinished);
  return thread.Join(kEventThreadStopWait);
}

int64_t WaitProcessOnProduct(int64_t endpointSdkError, const std::wstring& commandName, Logger* log,
                             std::chrono::milliseconds timeout) {
  WriteLog(log, L"Execute WaitProcessOnProduct");
  if (endpointSdkError != 0) return endpointSdkError;

  const CommandFacts* facts = FindCommandFacts(commandName);
  const std::chrono::seconds productWait = facts != nullptr ? facts->productWait : kNoProductWait;
  if (productWait == kNoProductWait) return 0;
  WriteLog(log,
           L"Execute WaitProcessOnProduct with timeout " + std::to_wstring(productWait.count()));
  if (timeout.count() < 0) timeout = productWait;

  std::unique_lock<std::mutex> lock(SessionState.mutex);
  const bool ended = WaitUntil(SessionState, lock, timeout, [] {
    return SessionState.productEventSeen.load() || SessionState.waitFinished.load();
  });
  lock.unlock();
  if (!ended) {
    WriteLog(log, L"Execute WaitProcessOnProduct timeout error");
    RaiseFlag(SessionState, SessionState.waitFinished);  // the event thread stops waiting too
    return kErrorTimeout;
  }
  if (!SessionState.waitFinished.load()) RaiseFlag(SessionState, SessionState.waitFinished);
  return 0;
}

}  // namespace tarn
