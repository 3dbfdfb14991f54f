// For native tests of the long-running operations: a stand-in for the agent's library that
// answers from its own threads at chosen or random times, std::thread event threads that count
// themselves, and an AgentPlatform that runs the real exchange against the stand-in.
#pragma once

#include <rapidjson/document.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "agent/agent_platform.h"
#include "agent/event_thread.h"
#include "agent/sdk_exchange.h"
#include "agent/sdk_interface.h"
#include "agent/sdk_session_state.h"
#include "base/result_codes.h"

namespace tarn::test {

// Event threads started and not yet seen to end by a join, over all StdEventThreads.
inline std::atomic<int> liveEventThreads{0};

class StdEventThread final : public EventThread {
 public:
  ~StdEventThread() override {
    // A thread not seen to end is left to run, as the tool leaves it; the counter shows it.
    if (thread_.joinable()) thread_.detach();
  }
  uint32_t Start(EventThreadBody body, void* context) override {
    ++liveEventThreads;
    std::packaged_task<void()> task([body, context] { body(context); });
    ended_ = task.get_future();
    thread_ = std::thread(std::move(task));
    return 0;
  }
  uint32_t Join(std::chrono::milliseconds timeout) override {
    if (!thread_.joinable()) return 0;
    if (ended_.wait_for(timeout) != std::future_status::ready) return kErrorTimeout;
    thread_.join();
    --liveEventThreads;
    return 0;
  }

 private:
  std::thread thread_;
  std::future<void> ended_;
};

inline std::unique_ptr<EventThread> NewStdEventThread() {
  return std::make_unique<StdEventThread>();
}

// One callback the stand-in makes after a request, on a thread of its own.
struct Delivery {
  enum class Kind { kReply, kEvent } kind = Kind::kReply;
  std::chrono::microseconds delay{0};
  std::string text;          // reply, or event payload
  std::string name;          // event name
  bool foreignId = false;    // a reply under another request's id
  bool nullContext = false;  // a callback without context (ignored by the tool)
};

// A reply {"response":{"data":{<ns>:[{"error":<error>,"output":{}}]}}}.
inline Delivery Reply(const char* nameSpace, int64_t error) {
  Delivery reply;
  reply.text = std::string(R"({"response":{"data":{")") + nameSpace + R"(":[{"error":)" +
               std::to_string(error) + R"(,"output":{}}]}}})";
  return reply;
}
inline Delivery Event(std::string name, std::string payload) {
  return {Delivery::Kind::kEvent, {}, std::move(payload), std::move(name), false, false};
}

// The agent's library as a test scripts it: `plan` says what to send for each request.
class FakeSdkInstance final : public SdkInstance {
 public:
  using Plan = std::function<std::vector<Delivery>(const std::string& request)>;

  explicit FakeSdkInstance(Plan plan) : plan_(std::move(plan)) {}
  ~FakeSdkInstance() { StopDeliveries(); }

  void Reserved0() override {}
  void Reserved1() override {}
  void Reserved2() override {}
  int32_t Run(const char* request, const char* requestId) override {
    std::lock_guard<std::mutex> lock(mutex_);
    for (Delivery& delivery : plan_(request)) {
      threads_.emplace_back(
          [this, delivery, id = std::string(requestId)] { Deliver(delivery, id); });
    }
    return 0;
  }
  int32_t RegisterNotifications(SdkNotificationRecord* record, uint64_t* /*cookie*/) override {
    std::lock_guard<std::mutex> lock(mutex_);
    record_ = record;
    stopping_ = false;
    return 0;
  }
  // As the library promises: once this returns, no callback runs or follows (every delivery
  // thread has been joined).
  int32_t UnregisterNotifications(SdkNotificationRecord* /*record*/) override {
    StopDeliveries();
    return 0;
  }

 private:
  void Deliver(const Delivery& delivery, const std::string& requestId) {
    SdkNotificationRecord* record = nullptr;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      if (changed_.wait_for(lock, delivery.delay, [this] { return stopping_; })) return;
      record = record_;
    }
    // Outside the lock: callbacks of several deliveries may run at the same time.
    void* context = delivery.nullContext ? nullptr : record;
    if (delivery.kind == Delivery::Kind::kEvent) {
      record->onEvent(context, delivery.name.c_str(), delivery.text.c_str());
    } else {
      const std::string id =
          delivery.foreignId ? "00000000-0000-0000-0000-000000000000" : requestId;
      record->onReply(context, id.c_str(), nullptr, delivery.text.c_str());
    }
  }
  void StopDeliveries() {
    std::vector<std::thread> threads;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
      threads.swap(threads_);
    }
    changed_.notify_all();
    for (std::thread& thread : threads) thread.join();
  }

  Plan plan_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool stopping_ = false;
  SdkNotificationRecord* record_ = nullptr;
  std::vector<std::thread> threads_;
};

// Waits that replace the tool's hours-long ones.
struct Waits {
  std::chrono::milliseconds reply{2000};
  std::chrono::milliseconds product{2000};
};

// The real exchange (agent/sdk_exchange.h) against `instance`, std::thread event threads and
// GUIDs counted up from 1.
inline AgentPlatform FakePlatform(FakeSdkInstance& instance, Waits waits = {}) {
  auto counter = std::make_shared<std::atomic<unsigned>>(0);
  GuidTextMaker makeGuid = [counter](std::string& text) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%08x-0000-4000-8000-000000000000", ++*counter);
    text = buffer;
    return 0u;
  };
  SdkMethodFunction execute = [&instance, waits, makeGuid](
                                  rapidjson::Document& reply, int32_t& apiError,
                                  int64_t& endpointSdkError, const std::wstring& methodKey,
                                  const std::wstring& explicitRequest,
                                  const std::wstring& commandName, Logger* log) {
    SdkExchange exchange{methodKey, explicitRequest, commandName,
                         makeGuid,  waits.reply,     waits.product};
    bool completed = false;
    return RunSdkExchange(instance, exchange, reply, apiError, endpointSdkError, completed, log);
  };
  return AgentPlatform{execute, makeGuid, NewStdEventThread};
}

// What a new process starts with.
inline void ResetSessionState() {
  std::lock_guard<std::mutex> lock(SessionState.mutex);
  SessionState.events.clear();
  SessionState.reply.clear();
  SessionState.replyReceived = false;
  SessionState.waitFinished = false;
  SessionState.productEventSeen = false;
  SessionState.explicitTimeoutMs = -1;
}

}  // namespace tarn::test
