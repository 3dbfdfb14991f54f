// The exchange against the simulator's SDK instance, the same stand-in the end-to-end tests load
// as "oxsdk.dll": it answers from its own threads, as the agent does, as its scenario says.
#include "agent/sdk_exchange.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "agent/sdk_session_state.h"
#include "agent/test_agent.h"
#include "base/test_log_capture.h"
#include "sim/oxsdk/instance.h"

namespace tarn {
namespace {

// The tool's view of the library over the simulator's instance, as the loaded library presents
// it. The instance keeps the record of its own type; the tool's callbacks are the same.
class SimulatedLibrary final : public SdkInstance {
 public:
  explicit SimulatedLibrary(const std::string& scenario) {
    sim::Scenario parsed;
    std::string error;
    EXPECT_TRUE(sim::Scenario::Parse(scenario, &parsed, &error)) << error;
    instance_ = std::make_unique<sim::Instance>(std::move(parsed), [](const sim::JournalLine&) {});
  }
  void Reserved0() override {}
  void Reserved1() override {}
  void Reserved2() override {}
  int32_t Run(const char* request, const char* requestId) override {
    return instance_->Run(request, requestId);
  }
  int32_t RegisterNotifications(SdkNotificationRecord* record, uint64_t* cookie) override {
    EXPECT_EQ(record->size, 24u);
    record_ = {sim::kRegistrationSize, record->onEvent, record->onReply};
    return instance_->RegisterNotifications(&record_, cookie);
  }
  int32_t UnregisterNotifications(SdkNotificationRecord*) override {
    ++unregistered;
    return instance_->UnregisterNotifications(&record_);
  }

  int unregistered = 0;

 private:
  sim::Registration record_{};
  std::unique_ptr<sim::Instance> instance_;
};

struct Outcome {
  uint32_t result;
  int32_t apiError;
  int64_t endpointSdkError;
  bool completed;
  rapidjson::Document reply;
};

Outcome Exchange(SdkInstance& library, const std::wstring& method = L"Product.GetStatus",
                 std::chrono::milliseconds replyTimeout = std::chrono::seconds(5),
                 Logger* log = nullptr, uint32_t idError = 0) {
  static std::atomic<int> counter{0};
  const RequestIdMaker makeId = [idError](std::string& id) {
    id = "0000000" + std::to_string(counter++ % 10) + "-aaaa-bbbb-cccc-dddddddddddd";
    return idError;
  };
  const std::wstring none, command;  // a session run for no command: the default reply wait
  SdkExchange exchange{method, none, command, makeId, replyTimeout};
  Outcome outcome{};
  outcome.result = RunSdkExchange(library, exchange, outcome.reply, outcome.apiError,
                                  outcome.endpointSdkError, outcome.completed, log);
  return outcome;
}

class SdkExchangeTest : public ::testing::Test {
 protected:
  void SetUp() override { test::ResetSessionState(); }
};

TEST_F(SdkExchangeTest, EveryPathHasItsCodeAndUnregistersOnceRegistered) {
  struct Case {
    const char* name;
    std::string scenario;
    const wchar_t* method;
    uint32_t idError;  // the request id maker's answer
    uint32_t result;
    int32_t apiError;
    int unregistered;
    bool completed;
    const char* line;  // the path's own log line
  } cases[] = {
      // A method's own results win over the scenario's, also when they are 0.
      {"reply",
       R"({"run": 50, "unregister": 7, "methods": {"Product.GetStatus": {"run": 0, "unregister": 9,)"
       R"( "reply": {"output": {}}, "delayMs": 10, "events": [{"name": "E"}]}}})",
       L"Product.GetStatus", 0, 0, 9, 1, true, "Response error code : 0"},
      {"registration refused", R"({"register": -3})", L"Product.GetStatus", 0, 775, -3, 0, false,
       "Failed to register instance notifications. Error code : -3"},
      {"unknown method", R"({"unregister": 9})", L"Product.NoSuchMethod", 0, 160, 9, 1, false,
       "Method not found. Unregistering instance"},
      {"no request id", "{}", L"Product.GetStatus", 1234, 1234, 0, 1, false,
       "Failed to create GUID. Error code : 1234"},
      {"run refused", R"({"run": 5, "methods": {"Product.GetStatus": {"run": -2}}})",
       L"Product.GetStatus", 0, 50, 0, 1, false, "Failed to run instance. Error code : -2"},
      {"no reply", R"({"default": {"noReply": true}})", L"Product.GetStatus", 0, 1460, 0, 1, false,
       "Failed to run instance due to timeout"},
  };
  for (const auto& c : cases) {
    SimulatedLibrary library(c.scenario);
    LogCapture log("tarn-sdk-exchange-test");
    Outcome outcome =
        Exchange(library, c.method, std::chrono::milliseconds(300), log.get(), c.idError);
    EXPECT_EQ(outcome.result, c.result) << c.name;
    EXPECT_EQ(outcome.apiError, c.apiError) << c.name;
    EXPECT_EQ(library.unregistered, c.unregistered) << c.name;
    EXPECT_EQ(outcome.completed, c.completed) << c.name;
    EXPECT_TRUE(ContainsInOrder(log.Take(), {c.line})) << c.name << ": " << c.line;
  }
  std::lock_guard<std::mutex> lock(SessionState.mutex);
  EXPECT_EQ(SessionState.events.size(), 1u);  // queued for the event threads, before the reply
}

TEST_F(SdkExchangeTest, ExplicitTimeoutWaitsForTheEndOfTheOperation) {
  // The reply alone does not end an explicit wait; the operation's end (an event thread raising
  // the wait-finished flag) does.
  SessionState.explicitTimeoutMs = 60000;
  SimulatedLibrary library(
      R"({"methods": {"Product.GetStatus": {"reply": {"output": {"v": 1}}}}})");
  std::thread eventThread([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    RaiseFlag(SessionState, SessionState.waitFinished);
  });
  const Outcome outcome = Exchange(library);
  EXPECT_TRUE(SessionState.waitFinished);  // not returned at the reply, 50 ms before
  eventThread.join();
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.reply["v"].GetInt(), 1);

  SessionState.explicitTimeoutMs = 100;
  SessionState.waitFinished = false;
  SimulatedLibrary silent(R"({"default": {"noReply": true}})");
  EXPECT_EQ(Exchange(silent).result, 1460u);
  EXPECT_TRUE(SessionState.waitFinished);  // event threads are told to stop
}

// (A reply without context is the stress test's stray; an event without context the scan
// thread's test.)
TEST_F(SdkExchangeTest, DeadlinesSaturate) {
  std::unique_lock<std::mutex> lock(SessionState.mutex);
  bool called = false;
  // A wait with no practical limit returns as soon as its predicate holds.
  EXPECT_TRUE(WaitUntil(SessionState, lock, std::chrono::milliseconds::max(), [&] {
    called = true;
    return true;
  }));
  EXPECT_TRUE(called);
  EXPECT_FALSE(WaitUntil(SessionState, lock, std::chrono::milliseconds(0), [] { return false; }));
}

}  // namespace
}  // namespace tarn
