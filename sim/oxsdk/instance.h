// The behaviour behind one SDK instance: accepts requests, and answers them from its own
// threads, as the agent does, with the replies and events the scenario plans.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "sim/oxsdk/journal_line.h"
#include "sim/oxsdk/plan.h"
#include "sim/oxsdk/scenario.h"
#include "sim/oxsdk/sdk_contract.h"

namespace tarn::sim {

class Instance {
 public:
  using JournalSink = std::function<void(const JournalLine&)>;

  Instance(Scenario scenario, JournalSink journal);
  // Stops every pending delivery and joins the delivery threads: once it returns, no code of
  // the library runs on their behalf.
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  int32_t Run(const char* request, const char* request_id);
  int32_t RegisterNotifications(const Registration* record, uint64_t* cookie);
  // Returns after any callback still running on a delivery thread has returned; none follows.
  int32_t UnregisterNotifications(const Registration* record);

 private:
  void Deliver(std::chrono::steady_clock::time_point arrival, std::vector<Delivery> deliveries);
  bool OnDeliveryThread() const;  // caller holds mutex_

  const Scenario scenario_;
  const JournalSink journal_;

  std::mutex mutex_;
  std::condition_variable changed_;
  bool stopping_ = false;
  const Registration* record_ = nullptr;  // registered record, passed back as the context
  Registration callbacks_{};              // its callbacks, copied at registration
  int callbacks_running_ = 0;
  std::optional<int32_t> unregister_result_;  // of the last request whose entry sets one
  std::vector<std::thread> threads_;
};

}  // namespace tarn::sim
