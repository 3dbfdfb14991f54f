#include "sim/oxsdk/instance.h"

#include <chrono>
#include <string>
#include <utility>

namespace tarn::sim {
namespace {

std::optional<std::string> TextOrNull(const char* text) {
  return text ? std::optional<std::string>(text) : std::nullopt;
}

JournalLine CallLine(const char* call, int32_t result) {
  JournalLine line("call");
  line.Add("call", call).Add("result", result);
  return line;
}

JournalLine FailureLine(const std::string& message) {
  JournalLine line("failure");
  line.Add("message", message);
  return line;
}

}  // namespace

Instance::Instance(Scenario scenario, JournalSink journal)
    : scenario_(std::move(scenario)), journal_(std::move(journal)) {}

Instance::~Instance() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
    record_ = nullptr;
  }
  changed_.notify_all();
  for (auto& thread : threads_) {
    // A host that releases from inside a callback cannot wait for itself.
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();
    } else {
      thread.join();
    }
  }
}

int32_t Instance::Run(const char* request, const char* request_id) {
  JournalLine line("request");
  line.AddOrNull("requestId", TextOrNull(request_id)).AddOrNull("request", TextOrNull(request));
  if (request == nullptr || request_id == nullptr) {
    journal_(line.AddOrNull("method", std::nullopt).Add("result", kSimInvalidParameter));
    return kSimInvalidParameter;
  }
  const auto arrival = std::chrono::steady_clock::now();
  const int64_t now_seconds = std::chrono::duration_cast<std::chrono::seconds>(
                                  std::chrono::system_clock::now().time_since_epoch())
                                  .count();
  Plan plan = MakePlan(scenario_, request, request_id, now_seconds);
  line.AddOrNull("method",
                 plan.method.empty() ? std::nullopt : std::optional<std::string>(plan.method));
  journal_(line.Add("result", plan.run_result));  // before any reply line of this request

  std::lock_guard<std::mutex> lock(mutex_);
  if (plan.unregister_result) unregister_result_ = plan.unregister_result;
  if (plan.run_result != kSimOk || plan.deliveries.empty()) return plan.run_result;
  try {
    threads_.emplace_back(&Instance::Deliver, this, arrival, std::move(plan.deliveries));
  } catch (const std::exception& e) {
    journal_(FailureLine(std::string("Run: cannot start a delivery thread: ") + e.what()));
    return kSimOutOfMemory;
  }
  return kSimOk;
}

void Instance::Deliver(std::chrono::steady_clock::time_point arrival,
                       std::vector<Delivery> deliveries) {
  try {
    for (const Delivery& delivery : deliveries) {
      const bool is_reply = delivery.kind == Delivery::Kind::kReply;
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait_until(lock, arrival + std::chrono::milliseconds(delivery.delay_ms),
                          [this] { return stopping_; });
      void* context = const_cast<Registration*>(record_);
      const Registration callbacks = callbacks_;
      const bool deliver =
          !stopping_ && context != nullptr &&
          (is_reply ? callbacks.on_reply != nullptr : callbacks.on_event != nullptr);
      if (deliver) ++callbacks_running_;
      lock.unlock();

      // Journaled before the call, so the line is there by the time the host acts on it.
      JournalLine line(is_reply ? "reply" : "event");
      line.AddOrNull("requestId", delivery.request_id);
      if (is_reply) {
        line.Add("reply", delivery.text);
      } else {
        line.Add("name", delivery.name).Add("payload", delivery.text);
      }
      journal_(line.AddBool("delivered", deliver));
      if (!deliver) continue;

      if (is_reply) {
        callbacks.on_reply(context, delivery.request_id ? delivery.request_id->c_str() : nullptr,
                           nullptr, delivery.text.c_str());
      } else {
        callbacks.on_event(context, delivery.name.c_str(), delivery.text.c_str());
      }
      lock.lock();
      --callbacks_running_;
      lock.unlock();
      changed_.notify_all();
    }
  } catch (const std::exception& e) {
    journal_(FailureLine(std::string("delivery thread: ") + e.what()));
  }
}

int32_t Instance::RegisterNotifications(const Registration* record, uint64_t* cookie) {
  std::string failure;
  int32_t result = scenario_.register_result();
  if (record == nullptr || record->size != kRegistrationSize) {
    failure = record ? "record size " + std::to_string(record->size) + ", expected 24"
                     : "null registration record";
    result = kSimInvalidParameter;
  } else if (result == kSimOk) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (record_ != nullptr) {
      failure = "a record is registered already";
      result = kSimAlreadyRegistered;
    } else {
      record_ = record;
      callbacks_ = *record;
      if (cookie) *cookie = 1;
    }
  }
  journal_(CallLine("RegisterNotifications", result));
  if (!failure.empty()) journal_(FailureLine("RegisterNotifications: " + failure));
  return result;
}

int32_t Instance::UnregisterNotifications(const Registration* record) {
  int32_t result = kSimInvalidParameter;
  bool registered = false;
  {
    std::unique_lock<std::mutex> lock(mutex_);
    registered = record != nullptr && record == record_;
    if (registered) {
      record_ = nullptr;
      // A callback that unregisters would wait for itself.
      if (!OnDeliveryThread()) changed_.wait(lock, [this] { return callbacks_running_ == 0; });
      result = unregister_result_.value_or(scenario_.unregister_result());
    }
  }
  journal_(CallLine("UnregisterNotifications", result));
  if (!registered) {
    journal_(FailureLine("UnregisterNotifications: the record is not the registered one"));
  }
  return result;
}

bool Instance::OnDeliveryThread() const {
  for (const auto& thread : threads_) {
    if (thread.get_id() == std::this_thread::get_id()) return true;
  }
  return false;
}

}  // namespace tarn::sim
