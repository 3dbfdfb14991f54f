// The instance behind the stand-in "oxsdk.dll", driven as the tool drives the library. The
// exported face around it (oxsdk_win.cc: the table of operations, the scenario file, the journal
// file) is what every end-to-end test of the tool loads.
#include "sim/oxsdk/instance.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tarn::sim {
namespace {

constexpr char kId[] = "3f2504e0-4f89-11d3-9a0c-0305e82c3301";
constexpr char kGetStatus[] =
    R"({"type":"oxsdk","data":{"Product":[{"@name":"GetStatus","input":{}}]}})";

struct Received {
  void* context;
  std::thread::id thread;
  std::string name;  // reply: the request id; event: its name
  std::string text;
};

// What the host saw. While `hold` is set an event callback blocks, to catch an unregister that
// does not wait for it.
struct Host {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Received> replies, events;
  std::vector<std::string> journal;  // the kinds of the lines; a call line as the call's name
  bool hold = false;
  bool eventRunning = false;
};
Host* g_host = nullptr;

void OnEvent(void* context, const char* name, const char* payload) {
  std::unique_lock<std::mutex> lock(g_host->mutex);
  g_host->events.push_back({context, std::this_thread::get_id(), name, payload});
  g_host->eventRunning = true;
  g_host->changed.notify_all();
  g_host->changed.wait(lock, [] { return !g_host->hold; });
  g_host->eventRunning = false;
}

void OnReply(void* context, const char* requestId, const void*, const char* reply) {
  std::lock_guard<std::mutex> lock(g_host->mutex);
  g_host->replies.push_back({context, std::this_thread::get_id(), requestId, reply});
  g_host->changed.notify_all();
}

class InstanceTest : public testing::Test {
 protected:
  void SetUp() override { g_host = &host_; }

  std::unique_ptr<Instance> Make(const std::string& text) {
    Scenario scenario;
    std::string error;
    EXPECT_TRUE(Scenario::Parse(text, &scenario, &error)) << error;
    return std::make_unique<Instance>(std::move(scenario), [this](const JournalLine& line) {
      rapidjson::Document parsed;
      parsed.Parse(line.Text(0, 0).c_str());
      const std::string kind = parsed["kind"].GetString();
      std::lock_guard<std::mutex> lock(host_.mutex);
      host_.journal.push_back(kind == "call" ? parsed["call"].GetString() : kind);
    });
  }

  // Bounded only to end a broken run; nothing here measures time.
  template <typename Predicate>
  void WaitUntil(Predicate done) {
    std::unique_lock<std::mutex> lock(host_.mutex);
    ASSERT_TRUE(host_.changed.wait_for(lock, std::chrono::seconds(30), done));
  }

  Host host_;
  Registration record_{kRegistrationSize, &OnEvent, &OnReply};
  uint64_t cookie_ = 0;
};

// The scenario's results for the tool's calls, and a method's own, are read through the tool's
// exchange (SdkExchangeTest); here the host's wrong calls, which a working tool never makes.
TEST_F(InstanceTest, WrongCallsAreRefused) {
  // An unsigned code reads as its signed twin.
  Scenario scenario;
  std::string error;
  ASSERT_TRUE(Scenario::Parse(R"({"getInstance": 2147500037})", &scenario, &error));
  EXPECT_EQ(scenario.get_instance_result(), -2147467259);
  auto instance = Make("{}");
  Registration wrongSize{16, &OnEvent, &OnReply};
  EXPECT_EQ(instance->RegisterNotifications(&wrongSize, &cookie_), kSimInvalidParameter);
  ASSERT_EQ(instance->RegisterNotifications(&record_, &cookie_), kSimOk);
  EXPECT_EQ(instance->RegisterNotifications(&record_, &cookie_), kSimAlreadyRegistered);
  EXPECT_EQ(instance->UnregisterNotifications(&wrongSize), kSimInvalidParameter);
  EXPECT_EQ(instance->Run("not json", kId), kSimInvalidParameter);
  EXPECT_EQ(instance->Run(kGetStatus, nullptr), kSimInvalidParameter);
}

// As the agent does: from its own threads, the record as the context, in the order due.
TEST_F(InstanceTest, RepliesAndEventsFallDueOnTheirOwnThreads) {
  auto instance = Make(R"({"default": {"delayMs": 100, "events": [
      {"name": "late", "delayMs": 200, "payload": {"id": "$requestId"}}, {"name": "first"}]}})");
  ASSERT_EQ(instance->RegisterNotifications(&record_, &cookie_), kSimOk);
  ASSERT_EQ(instance->Run(kGetStatus, kId), kSimOk);
  WaitUntil([&] { return host_.events.size() == 2; });
  EXPECT_EQ(instance->UnregisterNotifications(&record_), kSimOk);
  EXPECT_EQ(host_.journal, (std::vector<std::string>{"RegisterNotifications", "request", "event",
                                                     "reply", "event", "UnregisterNotifications"}));
  EXPECT_EQ(host_.events[0].name, "first");
  EXPECT_EQ(host_.events[1].text, std::string(R"({"@name":"late","id":")") + kId + "\"}");
  for (const Received& received : {host_.replies.at(0), host_.events[0], host_.events[1]}) {
    EXPECT_EQ(received.context, &record_);
    EXPECT_NE(received.thread, std::this_thread::get_id());
  }
}

TEST_F(InstanceTest, UnregisterWaitsForRunningCallbacksAndReleaseCancelsPendingOnes) {
  auto instance = Make(R"({"default": {"delayMs": 2147483647, "events": [
      {"name": "now"}, {"name": "much later", "delayMs": 600000}]}})");
  ASSERT_EQ(instance->RegisterNotifications(&record_, &cookie_), kSimOk);
  host_.hold = true;
  ASSERT_EQ(instance->Run(kGetStatus, kId), kSimOk);
  WaitUntil([&] { return host_.eventRunning; });

  bool callbackRunningAtReturn = true;
  std::thread unregister([&] {
    EXPECT_EQ(instance->UnregisterNotifications(&record_), kSimOk);
    std::lock_guard<std::mutex> lock(host_.mutex);
    callbackRunningAtReturn = host_.eventRunning;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // let it reach the wait
  {
    std::lock_guard<std::mutex> lock(host_.mutex);
    host_.hold = false;
  }
  host_.changed.notify_all();
  unregister.join();
  EXPECT_FALSE(callbackRunningAtReturn);
  instance.reset();  // returns although a reply and an event are still due

  EXPECT_TRUE(host_.replies.empty());
  EXPECT_EQ(host_.events.size(), 1u);
}

}  // namespace
}  // namespace tarn::sim
