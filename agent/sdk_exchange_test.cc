#include "agent/sdk_exchange.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "agent/sdk_session_state.h"

namespace tarn {
namespace {

constexpr char kContext[] = "library context";

// A library stand-in: answers from its own threads after a random pause, as a real agent does.
class FakeInstance final : public SdkInstance {
 public:
  int32_t registerResult = 0;
  int32_t runResult = 0;
  int32_t unregisterResult = 0;
  std::string replyText = R"({"response":{"data":{"Product":[{"error":0,"output":{"v":1}}]}}})";
  bool replyUnderForeignId = false;
  bool answer = true;
  std::vector<std::string> events;  // names to send before the reply
  unsigned seed = 1;

  std::atomic<int> registered{0};
  std::atomic<int> unregistered{0};
  std::string sentRequest;

  ~FakeInstance() {
    for (auto& t : threads_) t.join();
  }
  void Reserved0() override {}
  void Reserved1() override {}
  void Reserved2() override {}
  int32_t Run(const char* request, const char* requestId) override {
    sentRequest = request;
    if (runResult != 0) return runResult;
    const std::string id = replyUnderForeignId ? "00000000-0000-0000-0000-000000000000" : requestId;
    std::mt19937 random(seed);
    const auto pause = std::chrono::microseconds(random() % 2000);
    if (answer) {
      threads_.emplace_back([this, id, pause] {
        std::this_thread::sleep_for(pause);
        for (const auto& name : events) record_->onEvent((void*)kContext, name.c_str(), "{}");
        // Stray traffic: a null context and another request's reply are ignored.
        record_->onReply(nullptr, id.c_str(), nullptr, "{}");
        record_->onReply((void*)kContext, "another-request", nullptr, "{}");
        record_->onReply((void*)kContext, id.c_str(), nullptr, replyText.c_str());
      });
    }
    return 0;
  }
  int32_t RegisterNotifications(SdkNotificationRecord* record, uint64_t* cookie) override {
    EXPECT_EQ(record->size, 24u);
    EXPECT_EQ(*cookie, 0u);
    record_ = record;
    ++registered;
    return registerResult;
  }
  int32_t UnregisterNotifications(SdkNotificationRecord* record) override {
    EXPECT_EQ(record, record_);
    // No callback may arrive after this returns: the record goes out of scope.
    for (auto& t : threads_) t.join();
    threads_.clear();
    ++unregistered;
    return unregisterResult;
  }

 private:
  SdkNotificationRecord* record_ = nullptr;
  std::vector<std::thread> threads_;
};

struct Outcome {
  uint32_t result;
  int32_t apiError;
  int64_t endpointSdkError;
  bool completed;
  rapidjson::Document reply;
};

Outcome Exchange(FakeInstance& instance, const std::wstring& method = L"Product.GetStatus",
                 std::chrono::milliseconds replyTimeout = std::chrono::seconds(5),
                 RequestIdMaker makeId = nullptr) {
  const std::wstring none, command = L"-getproductversion";
  static std::atomic<int> counter{0};
  if (!makeId) {
    makeId = [](std::string& id) {
      id = "0000000" + std::to_string(counter++ % 10) + "-aaaa-bbbb-cccc-dddddddddddd";
      return 0u;
    };
  }
  SdkExchange exchange{method, none, command, makeId, replyTimeout};
  Outcome outcome{};
  outcome.result = RunSdkExchange(instance, exchange, outcome.reply, outcome.apiError,
                                  outcome.endpointSdkError, outcome.completed, nullptr);
  return outcome;
}

class SdkExchangeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SessionState.explicitTimeoutMs = -1;
    SessionState.waitFinished = false;
    SessionState.productEventSeen = false;
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    SessionState.events.clear();
  }
};

TEST_F(SdkExchangeTest, ReplyIsParsedAndCallbacksUnregistered) {
  FakeInstance instance;
  instance.events = {"Product.Event"};
  Outcome outcome = Exchange(instance);
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.endpointSdkError, 0);
  EXPECT_TRUE(outcome.completed);
  EXPECT_EQ(outcome.reply["v"].GetInt(), 1);
  EXPECT_EQ(instance.sentRequest,
            R"({"type":"oxsdk","data":{"Product":[{"@name":"GetStatus","input":{}}]}})");
  EXPECT_EQ(instance.unregistered, 1);
  std::lock_guard<std::mutex> lock(SessionState.mutex);
  EXPECT_EQ(SessionState.events.size(), 1u);  // queued for the event threads
}

TEST_F(SdkExchangeTest, FailuresGiveTheirCodesAndUnregisterOnceRegistered) {
  struct Case {
    const char* name;
    int32_t registerResult, runResult, unregisterResult;
    bool answer, foreignId;
    const wchar_t* method;
    uint32_t result;
    int32_t apiError;
    int unregistered;
  } cases[] = {
      {"registration refused", -3, 0, 0, true, false, L"Product.GetStatus", 775, -3, 0},
      {"unknown method", 0, 0, 9, true, false, L"Product.NoSuchMethod", 160, 9, 1},
      {"run refused", 0, -2, 0, true, false, L"Product.GetStatus", 50, 0, 1},
      {"no reply", 0, 0, 0, false, false, L"Product.GetStatus", 1460, 0, 1},
      {"reply under a foreign id", 0, 0, 0, true, true, L"Product.GetStatus", 1460, 0, 1},
  };
  for (const auto& c : cases) {
    FakeInstance instance;
    instance.registerResult = c.registerResult;
    instance.runResult = c.runResult;
    instance.unregisterResult = c.unregisterResult;
    instance.answer = c.answer;
    instance.replyUnderForeignId = c.foreignId;
    Outcome outcome = Exchange(instance, c.method, std::chrono::milliseconds(300));
    EXPECT_EQ(outcome.result, c.result) << c.name;
    EXPECT_EQ(outcome.apiError, c.apiError) << c.name;
    EXPECT_EQ(instance.unregistered, c.unregistered) << c.name;
    EXPECT_FALSE(outcome.completed) << c.name;
  }
}

TEST_F(SdkExchangeTest, RequestIdFailureIsReturnedAfterUnregistering) {
  FakeInstance instance;
  Outcome outcome = Exchange(instance, L"Product.GetStatus", std::chrono::seconds(1),
                             [](std::string&) { return 1234u; });
  EXPECT_EQ(outcome.result, 1234u);
  EXPECT_EQ(instance.unregistered, 1);
}

TEST_F(SdkExchangeTest, MalformedReplyCompletesWithErrorThree) {
  FakeInstance instance;
  instance.replyText = "not json";
  Outcome outcome = Exchange(instance);
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.endpointSdkError, 3);
  EXPECT_TRUE(outcome.completed);
}

TEST_F(SdkExchangeTest, ExplicitTimeoutWaitsForTheEndOfTheOperation) {
  // The reply alone does not end an explicit wait; the operation's end (an event thread raising
  // the wait-finished flag) does.
  SessionState.explicitTimeoutMs = 60000;
  FakeInstance instance;
  std::thread eventThread([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    RaiseFlag(SessionState, SessionState.waitFinished);
  });
  Outcome outcome = Exchange(instance);
  eventThread.join();
  EXPECT_EQ(outcome.result, 0u);

  SessionState.explicitTimeoutMs = 100;
  SessionState.waitFinished = false;
  FakeInstance silent;
  silent.answer = false;
  outcome = Exchange(silent);
  EXPECT_EQ(outcome.result, 1460u);
  EXPECT_TRUE(SessionState.waitFinished);  // event threads are told to stop
}

TEST_F(SdkExchangeTest, RandomCallbackTimingNeverLosesAReply) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    FakeInstance instance;
    instance.seed = seed;
    instance.events = {"a", "b"};
    const Outcome outcome = Exchange(instance);
    ASSERT_EQ(outcome.result, 0u) << seed;
    ASSERT_EQ(outcome.endpointSdkError, 0) << seed;
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    SessionState.events.clear();
  }
}

TEST(SdkSessionStateTest, DeadlineSaturatesInsteadOfOverflowing) {
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
