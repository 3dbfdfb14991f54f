// State that the SDK session shares with the library's callback threads and the event threads:
// one mutex, one condition variable (every change wakes all waiters, since waiters with
// different predicates share it), the reply, the event queue and three flags.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

namespace tarn {

struct SdkSessionState {
  std::mutex mutex;
  std::condition_variable changed;
  std::string reply;  // guarded by mutex
  std::atomic<bool> replyReceived{false};
  // Whether the session's wait ended with the reply in hand (a reply may still arrive after it
  // has read the buffer); guarded by mutex.
  bool replyTaken = false;
  std::atomic<bool> waitFinished{false};  // once set, events are dropped and waiters leave
  std::atomic<bool> productEventSeen{false};
  std::deque<std::pair<std::string, std::string>> events;  // (name, payload); guarded by mutex
  char requestId[37] = {};                                 // guarded by mutex
  // Explicit wait for the end of a product operation, in ms; negative: wait for the reply.
  std::atomic<int64_t> explicitTimeoutMs{-1};
};

// The one session state of the process.
extern SdkSessionState SessionState;

// The callbacks registered with the library. Both are called on the library's own threads and
// never throw.
void OnSdkEvent(void* context, const char* eventName, const char* payload) noexcept;
void OnSdkReply(void* context, const char* requestId, const void* unused,
                const char* reply) noexcept;

// Sets a flag and wakes every waiter.
void RaiseFlag(SdkSessionState& state, std::atomic<bool>& flag);

// Waits on state.changed, with `lock` held on `state.mutex`, until `done()` holds or `timeout`
// has passed. The deadline is taken on a monotonic clock, saturates instead of overflowing and
// is waited for in slices of at most one day; spurious wake-ups re-check `done()`.
// Returns done()'s final value.
template <typename Predicate>
bool WaitUntil(SdkSessionState& state, std::unique_lock<std::mutex>& lock,
               std::chrono::milliseconds timeout, Predicate done) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point now = Clock::now();
  const Clock::time_point deadline =
      timeout >
              std::chrono::duration_cast<std::chrono::milliseconds>(Clock::time_point::max() - now)
          ? Clock::time_point::max()
          : now + timeout;
  constexpr auto kSlice = std::chrono::hours(24);
  while (!done()) {
    const Clock::time_point current = Clock::now();
    if (current >= deadline) return done();
    const auto left = deadline - current;
    state.changed.wait_for(lock, left > kSlice ? Clock::duration(kSlice) : left);
  }
  return true;
}

}  // namespace tarn
