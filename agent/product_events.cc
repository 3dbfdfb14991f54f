#include "agent/product_events.h"

#include <chrono>

#include "agent/sdk_session_state.h"
#include "base/command_facts.h"
#include "base/log.h"
#include "base/result_codes.h"

namespace tarn {

int64_t WaitProcessOnProduct(int64_t endpointSdkError, const std::wstring& commandName,
                             Logger* log) {
  WriteLog(log, L"Execute WaitProcessOnProduct");
  if (endpointSdkError != 0) return endpointSdkError;

  const CommandFacts* facts = FindCommandFacts(commandName);
  const std::chrono::seconds timeout = facts != nullptr ? facts->productWait : kNoProductWait;
  if (timeout == kNoProductWait) return 0;
  WriteLog(log, L"Execute WaitProcessOnProduct with timeout " + std::to_wstring(timeout.count()));

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
