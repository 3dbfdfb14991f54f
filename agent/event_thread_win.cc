#include <windows.h>

#include <algorithm>

#include "agent/agent_platform.h"
#include "agent/event_thread.h"
#include "base/result_codes.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

struct StartBlock {
  EventThreadBody body;
  void* context;
};

DWORD WINAPI EventThreadEntry(LPVOID parameter) {
  const StartBlock* start = static_cast<const StartBlock*>(parameter);
  return start->body(start->context);
}

class Win32EventThread final : public EventThread {
 public:
  ~Win32EventThread() override {
    // A thread that was not seen to end may still read its start block: leave it to the thread.
    if (thread_ && !ended_) static_cast<void>(start_.release());
  }

  uint32_t Start(EventThreadBody body, void* context) override {
    start_ = std::make_unique<StartBlock>(StartBlock{body, context});
    thread_.reset(CreateThread(nullptr, 0, EventThreadEntry, start_.get(), 0, nullptr));
    return thread_ ? 0 : GetLastError();
  }

  uint32_t Join(std::chrono::milliseconds timeout) override {
    if (!thread_ || ended_) return 0;
    const DWORD waitMs = static_cast<DWORD>(
        std::clamp<int64_t>(timeout.count(), 0, static_cast<int64_t>(INFINITE) - 1));
    switch (WaitForSingleObject(thread_.get(), waitMs)) {
      case WAIT_OBJECT_0:
        ended_ = true;
        return 0;
      case WAIT_TIMEOUT:
        return kErrorTimeout;
      default:
        return GetLastError();
    }
  }

 private:
  std::unique_ptr<StartBlock> start_;
  UniqueKernelHandle thread_;
  bool ended_ = false;
};

}  // namespace

std::unique_ptr<EventThread> NewSystemEventThread() { return std::make_unique<Win32EventThread>(); }

}  // namespace tarn
