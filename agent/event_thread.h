// The thread on which a long-running operation waits for its product event. The body is
// platform-free (agent/product_events.h); starting and joining it is the platform's: CreateThread
// and WaitForSingleObject in the tool (agent/event_thread_win.cc), std::thread in native tests.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

namespace tarn {

using EventThreadBody = uint32_t (*)(void* context);

class EventThread {
 public:
  virtual ~EventThread() = default;  // releases the thread's handle; does not wait for it

  /// Runs body(context) on a new thread: 0, or the system's error code (no thread then).
  [[nodiscard]] virtual uint32_t Start(EventThreadBody body, void* context) = 0;

  /// Waits at most `timeout` for the thread to end: 0 once it has ended, 1460 while it still
  /// runs, or the system's code of a failed wait.
  [[nodiscard]] virtual uint32_t Join(std::chrono::milliseconds timeout) = 0;
};

using EventThreadFactory = std::unique_ptr<EventThread> (*)();

}  // namespace tarn
