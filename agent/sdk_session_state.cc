#include "agent/sdk_session_state.h"

#include <cstring>

namespace tarn {

SdkSessionState SessionState;

void RaiseFlag(SdkSessionState& state, std::atomic<bool>& flag) {
  {
    // Taking the mutex orders the flag with a waiter's predicate check: no lost wake-up.
    std::lock_guard<std::mutex> lock(state.mutex);
    flag.exchange(true);
  }
  state.changed.notify_all();
}

void OnSdkEvent(void* context, const char* eventName, const char* payload) noexcept {
  if (context == nullptr || SessionState.waitFinished.load()) return;
  try {
    {
      std::lock_guard<std::mutex> lock(SessionState.mutex);
      SessionState.events.emplace_back(eventName ? eventName : "", payload ? payload : "");
    }
    SessionState.changed.notify_all();
  } catch (...) {
    // Out of memory on the library's thread: the event is lost, the wait times out.
  }
}

void OnSdkReply(void* context, const char* requestId, const void* /*unused*/,
                const char* reply) noexcept {
  if (context == nullptr || requestId == nullptr) return;
  try {
    {
      std::lock_guard<std::mutex> lock(SessionState.mutex);
      if (std::strcmp(requestId, SessionState.requestId) != 0) return;
      if (reply != nullptr) SessionState.reply = reply;
      SessionState.replyReceived.exchange(true);
    }
    SessionState.changed.notify_all();
  } catch (...) {
    // Out of memory on the library's thread: the reply is lost, the wait times out.
  }
}

}  // namespace tarn
