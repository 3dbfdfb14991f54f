// Drives the built stand-in "oxsdk.dll" as a host does: a fresh copy in a temporary folder with
// its scenario beside it, the instance called through a class of virtual functions.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "sim/oxsdk/sdk_contract.h"

namespace tarn::sim {

// The host's view: six virtual functions, the first three unused, no virtual destructor.
// Outside the anonymous namespace: an abstract class that no other unit can derive from would
// let the compiler treat every call through it as unreachable.
class SdkInstance {
 public:
  virtual int32_t Unused0() = 0;
  virtual int32_t Unused1() = 0;
  virtual int32_t Unused2() = 0;
  virtual int32_t Run(const char* request, const char* request_id) = 0;
  virtual int32_t RegisterNotifications(Registration* record, uint64_t* cookie) = 0;
  virtual int32_t UnregisterNotifications(Registration* record) = 0;

 protected:
  ~SdkInstance() = default;
};

namespace {

namespace fs = std::filesystem;

using GetInstanceFn = int32_t (*)(SdkInstance** instance, int32_t reserved);
using ReleaseInstanceFn = int32_t (*)(SdkInstance* instance);

constexpr char kId[] = "3f2504e0-4f89-11d3-9a0c-0305e82c3301";
constexpr char kGetStatus[] =
    R"({"type":"oxsdk","data":{"Product":[{"@name":"GetStatus","input":{}}]}})";
constexpr char kAssessment[] =
    R"({ "type": "oxsdk", "data":{ "Product.CompetitorRemoval":[ { "@name": "StartAssessment",)"
    R"( "input": { "runContext": { "otherData": "11111111-aaaa", "someData": "22222222-bbbb" } } } ] } })";

struct Received {
  void* context = nullptr;
  std::thread::id thread;
  std::optional<std::string> id;  // reply: request id; event: name
  std::string text;
};

// What the callbacks saw. Callbacks block while `hold_events` is set, to catch a caller that
// does not wait for them.
struct Seen {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Received> replies;
  std::vector<Received> events;
  bool hold_events = false;
  bool event_running = false;
};
Seen* g_seen = nullptr;

void OnEvent(void* context, const char* name, const char* payload) {
  std::unique_lock<std::mutex> lock(g_seen->mutex);
  g_seen->events.push_back({context, std::this_thread::get_id(), name, payload});
  g_seen->event_running = true;
  g_seen->changed.notify_all();
  g_seen->changed.wait(lock, [] { return !g_seen->hold_events; });
  g_seen->event_running = false;
}

void OnReply(void* context, const char* request_id, const void*, const char* reply) {
  std::lock_guard<std::mutex> lock(g_seen->mutex);
  g_seen->replies.push_back({context, std::this_thread::get_id(),
                             request_id ? std::optional<std::string>(request_id) : std::nullopt,
                             reply});
  g_seen->changed.notify_all();
}

class OxsdkTest : public testing::Test {
 protected:
  void SetUp() override {
    g_seen = &seen_;
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    static int counter = 0;
    dir_ = fs::path(temp) / ("oxsdk-test-" + std::to_string(GetCurrentProcessId()) + "-" +
                             std::to_string(++counter));
    fs::create_directories(dir_ / "sim");
    wchar_t exe[MAX_PATH];
    GetModuleFileNameW(nullptr, exe, MAX_PATH);
    fs::copy_file(fs::path(exe).parent_path() / SIM_OXSDK_FROM_TESTS, dir_ / "oxsdk.dll");
    module_ = LoadLibraryW((dir_ / "oxsdk.dll").c_str());
    ASSERT_NE(module_, nullptr) << GetLastError();
    get_instance_ = reinterpret_cast<GetInstanceFn>(
        reinterpret_cast<void*>(GetProcAddress(module_, "OXSDK_GetInstance")));
    release_ = reinterpret_cast<ReleaseInstanceFn>(
        reinterpret_cast<void*>(GetProcAddress(module_, "OXSDK_ReleaseInstance")));
    ASSERT_TRUE(get_instance_ && release_);
  }

  void TearDown() override {
    Release();
    if (module_) FreeLibrary(module_);
    std::error_code ignored;
    fs::remove_all(dir_, ignored);
    g_seen = nullptr;
  }

  void WriteScenario(const std::string& text) {
    std::ofstream(dir_ / "sim" / "scenario.json", std::ios::binary) << text;
  }

  // Gets a new instance (reading the scenario now) and registers `record_` when that worked.
  int32_t Start(const std::string& scenario) {
    WriteScenario(scenario);
    const int32_t result = get_instance_(&instance_, 0);
    if (result == 0) {
      EXPECT_EQ(instance_->RegisterNotifications(&record_, &cookie_), 0);
    }
    return result;
  }

  void Release() {
    if (instance_) release_(instance_);
    instance_ = nullptr;
  }

  // Bounded only to end a broken run; nothing here measures time.
  template <typename Predicate>
  void WaitUntil(Predicate done) {
    std::unique_lock<std::mutex> lock(seen_.mutex);
    ASSERT_TRUE(seen_.changed.wait_for(lock, std::chrono::seconds(30), done));
  }

  std::vector<rapidjson::Document> Journal() {
    std::ifstream file(dir_ / "sim" / "journal.jsonl", std::ios::binary);
    std::vector<rapidjson::Document> lines;
    for (std::string line; std::getline(file, line);) {
      lines.emplace_back().Parse(line.c_str());
      EXPECT_TRUE(lines.back().IsObject()) << line;
    }
    return lines;
  }

  // The journal's lines of one kind; "call" lines as the call's name.
  std::vector<std::string> JournalKinds() {
    std::vector<std::string> kinds;
    for (const auto& line : Journal()) {
      const std::string kind = line["kind"].GetString();
      kinds.push_back(kind == "call" ? line["call"].GetString() : kind);
    }
    return kinds;
  }

  Seen seen_;
  fs::path dir_;
  HMODULE module_ = nullptr;
  GetInstanceFn get_instance_ = nullptr;
  ReleaseInstanceFn release_ = nullptr;
  SdkInstance* instance_ = nullptr;
  Registration record_{kRegistrationSize, &OnEvent, &OnReply};
  uint64_t cookie_ = 0;
};

TEST_F(OxsdkTest, AnswersOnItsOwnThreadWithTheRecordAsContextAndJournalsEveryStep) {
  ASSERT_EQ(
      Start(
          R"({"methods": {"Update.GetUpdateSettings": {"reply": {"output": {"settings": {}}}}}})"),
      0);
  EXPECT_NE(cookie_, 0u);
  const std::string request =
      R"({"type": "oxsdk","data": {"Update": [{"@name": "GetUpdateSettings","input": {"user": ""}}]}})";
  ASSERT_EQ(instance_->Run(request.c_str(), kId), 0);
  WaitUntil([&] { return seen_.replies.size() == 1; });
  const Received& reply = seen_.replies[0];
  EXPECT_NE(reply.thread, std::this_thread::get_id());
  EXPECT_EQ(reply.context, &record_);
  EXPECT_EQ(reply.id, kId);
  EXPECT_EQ(
      reply.text,
      R"({"response":{"data":{"Update":[{"@name":"GetUpdateSettings","output":{"settings":{}},"error":0}]}}})");
  EXPECT_EQ(instance_->Unused1(), kSimInvalidFunction);
  EXPECT_EQ(instance_->UnregisterNotifications(&record_), 0);
  Release();

  EXPECT_EQ(JournalKinds(), (std::vector<std::string>{
                                "OXSDK_GetInstance", "RegisterNotifications", "request", "reply",
                                "failure", "UnregisterNotifications", "OXSDK_ReleaseInstance"}));
  const auto journal = Journal();
  const auto& line = journal[2];
  EXPECT_EQ(line["request"].GetString(), request);  // byte for byte
  EXPECT_STREQ(line["requestId"].GetString(), kId);
  EXPECT_STREQ(line["method"].GetString(), "Update.GetUpdateSettings");
  EXPECT_EQ(line["result"].GetInt(), 0);
  EXPECT_EQ(journal[3]["reply"].GetString(), reply.text);
  EXPECT_TRUE(journal[3]["delivered"].GetBool());
  EXPECT_EQ(journal[4]["message"].GetString(),
            std::string("the host called unused slot 1 of the table of operations"));
}

// Reply texts are checked by the platform-free tests; here, what reaches the host and when.
TEST_F(OxsdkTest, ReplyIdsDelaysAndMissingReplies) {
  struct Case {
    const char* entry;  // members of the Product.GetStatus entry, besides the marker event
    bool replies;
    std::optional<std::string> id;
  };
  const Case cases[] = {
      {R"("replyId": "00000000-0000-0000-0000-000000000000")", true,
       "00000000-0000-0000-0000-000000000000"},
      {R"("replyId": null)", true, std::nullopt},
      {R"("delayMs": 50)", true, kId},
      {R"("noReply": true)", false, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.entry);
    seen_.replies.clear();
    seen_.events.clear();
    // The marker falls due after any reply, so once it is seen the reply has come or never will.
    ASSERT_EQ(Start(std::string(R"({"methods": {"Product.GetStatus": {)") + c.entry +
                    R"(, "events": [{"name": "marker", "delayMs": 100}]}}})"),
              0);
    ASSERT_EQ(instance_->Run(kGetStatus, kId), 0);
    WaitUntil([&] { return seen_.events.size() == 1; });
    EXPECT_EQ(instance_->UnregisterNotifications(&record_), 0);
    Release();
    ASSERT_EQ(seen_.replies.size(), c.replies ? 1u : 0u);
    if (!c.replies) continue;
    EXPECT_EQ(seen_.replies[0].id, c.id);
  }
}

TEST_F(OxsdkTest, ResultCodesComeFromTheScenario) {
  struct Case {
    const char* scenario;
    int32_t get_instance, run, unregister;
    bool replies;
  };
  const Case cases[] = {
      {R"({"getInstance": -2147467259})", -2147467259, 0, 0, false},
      {R"({"getInstance": 2147500037})", -2147467259, 0, 0, false},
      {R"({"run": 50})", 0, 50, 0, false},
      {R"({"run": 50, "methods": {"Product.GetStatus": {"run": 0}}})", 0, 0, 0, true},
      {R"({"methods": {"Product.GetStatus": {"run": 1168}}})", 0, 1168, 0, false},
      {R"({"unregister": 7})", 0, 0, 7, true},
      {R"({"unregister": 7, "methods": {"Product.GetStatus": {"unregister": 9}}})", 0, 0, 9, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.scenario);
    seen_.replies.clear();
    ASSERT_EQ(Start(c.scenario), c.get_instance);
    if (c.get_instance != 0) {
      EXPECT_EQ(instance_, nullptr);
      continue;
    }
    EXPECT_EQ(instance_->Run(kGetStatus, kId), c.run);
    if (c.replies) WaitUntil([&] { return seen_.replies.size() == 1; });
    EXPECT_EQ(instance_->UnregisterNotifications(&record_), c.unregister);
    Release();
    EXPECT_EQ(seen_.replies.size(), c.replies ? 1u : 0u);
    EXPECT_EQ(Journal().back()["kind"].GetString(), std::string("call"));
  }

  WriteScenario("{}");
  ASSERT_EQ(get_instance_(&instance_, 0), 0);
  Registration wrong_size{16, &OnEvent, &OnReply};
  EXPECT_EQ(instance_->RegisterNotifications(&wrong_size, &cookie_), kSimInvalidParameter);
  ASSERT_EQ(instance_->RegisterNotifications(&record_, &cookie_), 0);
  EXPECT_EQ(instance_->RegisterNotifications(&record_, &cookie_), kSimAlreadyRegistered);
  EXPECT_EQ(instance_->UnregisterNotifications(&wrong_size), kSimInvalidParameter);
  EXPECT_EQ(instance_->Run("not json", kId), kSimInvalidParameter);
  EXPECT_EQ(instance_->Run(kGetStatus, nullptr), kSimInvalidParameter);
}

TEST_F(OxsdkTest, GetInstanceFailsOnAMissingOrMalformedScenario) {
  struct Case {
    const char* scenario;  // nullptr: no file
    int32_t reserved;
    int32_t result;
    const char* failure;  // part of the journal's failure message
  };
  const Case cases[] = {
      {nullptr, 0, kSimScenarioMissing, "scenario.json: error 2"},
      {"{", 0, kSimScenarioInvalid, "scenario.json: not valid JSON at offset 1"},
      {R"({"methods": {"A.B": {"delay": 1}}})", 0, kSimScenarioInvalid,
       R"(methods["A.B"].delay: unknown member)"},
      {"{}", 1, kSimInvalidParameter, "non-zero second argument 1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.failure);
    fs::remove(dir_ / "sim" / "scenario.json");
    if (c.scenario) WriteScenario(c.scenario);
    instance_ = reinterpret_cast<SdkInstance*>(&cookie_);  // must be cleared or left alone
    EXPECT_EQ(get_instance_(&instance_, c.reserved), c.result);
    if (c.reserved == 0) {
      EXPECT_EQ(instance_, nullptr);
    }
    instance_ = nullptr;
    const auto journal = Journal();
    ASSERT_GE(journal.size(), 2u);
    const auto& failure = journal[journal.size() - 2];
    EXPECT_STREQ(failure["kind"].GetString(), "failure");
    EXPECT_NE(std::string(failure["message"].GetString()).find(c.failure), std::string::npos)
        << failure["message"].GetString();
    EXPECT_EQ(journal.back()["result"].GetInt(), c.result);
  }
}

TEST_F(OxsdkTest, EventsEchoTheRunContextAndRepliesTellTimeFromNow) {
  ASSERT_EQ(Start(R"({"methods": {
      "Product.CompetitorRemoval.StartAssessment": {"events": [
        {"name": "Product.CompetitorRemoval.AssessmentEnded", "delayMs": 200,
         "payload": {"runContext": "$request.input.runContext", "products": []}},
        {"name": "FileScan.OnDemand.ScanStarted"}]},
      "Product.GetStatus": {"reply": {"output": {"LastUpdateTime": "$now-4d",
         "Locations": {"Antivirus": {"update": {"lastSucceededTime": "$now-3h"}}}}}}}})"),
            0);
  const int64_t before = std::time(nullptr);
  ASSERT_EQ(instance_->Run(kAssessment, kId), 0);
  ASSERT_EQ(instance_->Run(kGetStatus, "another-id"), 0);
  WaitUntil([&] { return seen_.events.size() == 2 && seen_.replies.size() == 2; });
  const int64_t after = std::time(nullptr);

  EXPECT_EQ(seen_.events[0].id, "FileScan.OnDemand.ScanStarted");  // the earlier delay first
  EXPECT_EQ(seen_.events[0].text, R"({"@name":"FileScan.OnDemand.ScanStarted"})");
  const Received& ended = seen_.events[1];
  EXPECT_EQ(ended.context, &record_);
  EXPECT_NE(ended.thread, std::this_thread::get_id());
  EXPECT_EQ(ended.text,
            R"({"@name":"Product.CompetitorRemoval.AssessmentEnded","runContext":{"otherData":)"
            R"("11111111-aaaa","someData":"22222222-bbbb"},"products":[]})");

  const Received& status = seen_.replies[0].id == kId ? seen_.replies[1] : seen_.replies[0];
  rapidjson::Document reply;
  reply.Parse(status.text.c_str());
  const auto& output = reply["response"]["data"]["Product"][0]["output"];
  const int64_t last_update = output["LastUpdateTime"].GetInt64();
  EXPECT_GE(last_update, before - 4 * 86400);
  EXPECT_LE(last_update, after - 4 * 86400);
  const int64_t succeeded =
      output["Locations"]["Antivirus"]["update"]["lastSucceededTime"].GetInt64();
  EXPECT_GE(succeeded, before - 3 * 3600);
  EXPECT_LE(succeeded, after - 3 * 3600);
}

TEST_F(OxsdkTest, UnregisterWaitsForRunningCallbacksAndReleaseCancelsPendingOnes) {
  ASSERT_EQ(Start(R"({"default": {"delayMs": 2147483647, "events": [
      {"name": "now"}, {"name": "much later", "delayMs": 600000}]}})"),
            0);
  seen_.hold_events = true;
  ASSERT_EQ(instance_->Run(kGetStatus, kId), 0);
  WaitUntil([&] { return seen_.event_running; });

  bool callback_running_at_return = true;
  std::thread unregister([&] {
    EXPECT_EQ(instance_->UnregisterNotifications(&record_), 0);
    std::lock_guard<std::mutex> lock(seen_.mutex);
    callback_running_at_return = seen_.event_running;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // let it reach the wait
  {
    std::lock_guard<std::mutex> lock(seen_.mutex);
    seen_.hold_events = false;
  }
  seen_.changed.notify_all();
  unregister.join();
  EXPECT_FALSE(callback_running_at_return);
  Release();  // returns although a reply and an event are still due

  EXPECT_TRUE(seen_.replies.empty());
  EXPECT_EQ(seen_.events.size(), 1u);
  int undelivered = 0;
  for (const auto& line : Journal()) {
    if (line.HasMember("delivered") && !line["delivered"].GetBool()) ++undelivered;
  }
  EXPECT_EQ(undelivered, 2);
}

TEST_F(OxsdkTest, JournalKeepsWholeLinesUnderConcurrentWriters) {
  WriteScenario(R"({"default": {"events": [{"name": "E", "payload": {"echo": "$request"}}]}})");
  constexpr int kThreads = 4;
  constexpr int kRequests = 20;
  const std::string padding(4000, 'x');
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      SdkInstance* instance = nullptr;
      Registration record{kRegistrationSize, &OnEvent, &OnReply};
      uint64_t cookie = 0;
      ASSERT_EQ(get_instance_(&instance, 0), 0);
      ASSERT_EQ(instance->RegisterNotifications(&record, &cookie), 0);
      for (int r = 0; r < kRequests; ++r) {
        const std::string request = R"({"data":{"T)" + std::to_string(t) +
                                    R"(":[{"@name":"M","input":{"pad":")" + padding + R"("}}]}})";
        EXPECT_EQ(instance->Run(request.c_str(), kId), 0);
      }
      WaitUntil([&] {
        return seen_.events.size() == kThreads * kRequests &&
               seen_.replies.size() == kThreads * kRequests;
      });
      EXPECT_EQ(instance->UnregisterNotifications(&record), 0);
      release_(instance);
    });
  }
  for (auto& thread : threads) thread.join();

  std::map<std::string, int> counts;
  for (const auto& line : Journal()) ++counts[line["kind"].GetString()];
  EXPECT_EQ(counts["request"], kThreads * kRequests);
  EXPECT_EQ(counts["reply"], kThreads * kRequests);
  EXPECT_EQ(counts["event"], kThreads * kRequests);
  EXPECT_EQ(counts["failure"], 0);
}

}  // namespace
}  // namespace tarn::sim
