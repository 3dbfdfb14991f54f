// Randomized runs of the long-running operations against a library that answers from several
// threads at random times: replies, late, repeated, foreign, malformed and unrelated events. Every
// run must end, leave no event thread behind and give one of the outcomes its deliveries allow.
// (Natively the only threads a run starts are its event thread, counted until a join sees it end,
// and the fake library's delivery threads, which the library joins.)
// The assertions never depend on timing; the waits only decide how long an undecided run lasts.
#include <gtest/gtest.h>

#include <future>
#include <random>
#include <set>
#include <thread>

#include "agent/product_events.h"
#include "agent/test_agent.h"
#include "ops/competitors.h"
#include "ops/scans.h"

namespace tarn {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using test::Delivery;

constexpr int kRuns = 1000;
constexpr milliseconds kDecided(10000);  // a run that has its answer coming never waits this long
constexpr milliseconds kUndecided(20);   // a run without one times out after this
constexpr auto kRunBound = std::chrono::seconds(60);

const RunContext kOurs{"00000001-0000-4000-8000-000000000000",
                       "00000002-0000-4000-8000-000000000000"};
const RunContext kTheirs{"0000000a-0000-4000-8000-000000000000",
                         "0000000b-0000-4000-8000-000000000000"};

std::string Payload(const char* name, const RunContext& context, const char* products) {
  return std::string(R"({"@name":")") + name + R"(","runContext":{"otherData":")" +
         context.otherData + R"(","someData":")" + context.someData + R"("},"products":)" +
         products + "}";
}

enum class Operation { kScanWithWait, kScanWithoutWait, kAssessment, kRemoval };

struct PlannedRun {
  Operation operation;
  std::vector<Delivery> deliveries;
  std::set<std::string> allowed;  // "code" or "code:value"
  test::Waits waits;
  int64_t explicitWaitMs = -1;
};

class Planner {
 public:
  explicit Planner(unsigned seed) : random_(seed) {}

  PlannedRun Plan() {
    PlannedRun run;
    run.operation = static_cast<Operation>(Pick(4));
    const char* nameSpace =
        run.operation == Operation::kScanWithWait || run.operation == Operation::kScanWithoutWait
            ? "FileScan.OnDemand"
            : "Product.CompetitorRemoval";
    // The reply: none, one under another id, the agent's error 5, or success; sometimes twice,
    // sometimes with a stray copy without context.
    const int reply = Pick(10);
    std::set<int64_t> replyErrors;  // what the session may read: a second reply may overwrite
    if (reply == 1) Add(run, test::Reply(nameSpace, 0), true);
    if (reply >= 2) {
      const int64_t error = reply == 2 ? 5 : 0;
      Add(run, test::Reply(nameSpace, error));
      replyErrors.insert(error);
      if (Pick(4) == 0) {
        Add(run, test::Reply(nameSpace, 1));
        replyErrors.insert(1);
      }
    }
    if (Pick(3) == 0) {
      Delivery stray = test::Reply(nameSpace, 9);
      stray.nullContext = true;
      Add(run, stray);
    }

    std::set<std::string> decisive;  // outcomes of the events that end the wait
    switch (run.operation) {
      case Operation::kScanWithWait:
      case Operation::kScanWithoutWait:
        Maybe(run, decisive, kScanStartedEvent, "{}", "0:0");
        Maybe(run, decisive, kScanFailedEvent, "{}", "0:5023");
        Maybe(run, decisive, "filescan.ondemand.scanfailed", "{}", nullptr);
        Maybe(run, decisive, "FileScan.OnDemand.Progress", "{}", nullptr);
        break;
      case Operation::kAssessment:
        Competitors(run, decisive, kAssessmentEndedEvent,
                    R"([{"id":"a","productName":"A","removalSupported":true}])",
                    "0:id=a|productName=A|removalSupported=1");
        break;
      case Operation::kRemoval:
        Competitors(run, decisive, kRemovalEndedEvent,
                    R"([{"id":"a","status":"notFound","productName":"A"}])",
                    "0:id=a|productName=A|status=notFound");
        break;
    }

    const bool replied = !replyErrors.empty();
    switch (run.operation) {
      case Operation::kScanWithWait:
        // The first of the reply and a scan event decides.
        run.allowed = decisive;
        for (int64_t error : replyErrors) run.allowed.insert("0:" + std::to_string(error));
        if (run.allowed.empty()) run.allowed.insert("1460");
        run.explicitWaitMs = (run.allowed.count("1460") ? kUndecided : kDecided).count();
        break;
      case Operation::kScanWithoutWait:
        for (int64_t error : replyErrors) run.allowed.insert("0:" + std::to_string(error));
        if (!replied) run.allowed.insert("1460");
        run.waits.reply = replied ? kDecided : kUndecided;
        break;
      case Operation::kAssessment:
      case Operation::kRemoval:
        if (!replied) run.allowed.insert("1460");
        for (int64_t error : replyErrors) {
          if (error != 0) {
            run.allowed.insert(std::to_string(error));  // no product wait at all
          } else if (decisive.empty()) {
            run.allowed.insert("1460");
          } else {
            run.allowed.insert(decisive.begin(), decisive.end());
          }
        }
        run.waits.reply = replied ? kDecided : kUndecided;
        run.waits.product = decisive.empty() ? kUndecided : kDecided;
        break;
    }
    return run;
  }

 private:
  int Pick(int n) { return static_cast<int>(random_() % n); }
  microseconds Delay() { return microseconds(random_() % 3000); }

  void Add(PlannedRun& run, Delivery delivery, bool foreignId = false) {
    delivery.delay = Delay();
    delivery.foreignId = foreignId;
    run.deliveries.push_back(std::move(delivery));
  }

  // Sometimes sends the event, sometimes twice; `outcome` (null: none) is what it decides.
  void Maybe(PlannedRun& run, std::set<std::string>& decisive, const char* name,
             const std::string& payload, const char* outcome) {
    const int copies = Pick(3) == 0 ? 0 : 1 + Pick(2);
    for (int i = 0; i < copies; ++i) Add(run, test::Event(name, payload));
    if (copies > 0 && outcome != nullptr) decisive.insert(outcome);
  }

  void Competitors(PlannedRun& run, std::set<std::string>& decisive, const char* name,
                   const char* products, const char* goodOutcome) {
    const char* other =
        name == std::string(kAssessmentEndedEvent) ? kRemovalEndedEvent : kAssessmentEndedEvent;
    Maybe(run, decisive, name, Payload(name, kOurs, products), goodOutcome);
    Maybe(run, decisive, name, Payload(name, kTheirs, products), nullptr);  // another run's
    Maybe(run, decisive, other, Payload(other, kOurs, products), nullptr);  // another event
    if (Pick(4) == 0) Maybe(run, decisive, name, Payload(name, kOurs, "{}"), "3");
    if (Pick(4) == 0) Maybe(run, decisive, name, "not json", "3");
    if (Pick(4) == 0) Maybe(run, decisive, name, Payload(other, kOurs, products), "0:");
  }

  std::mt19937 random_;
};

std::string Execute(const PlannedRun& run) {
  test::ResetSessionState();
  SessionState.explicitTimeoutMs = run.explicitWaitMs;
  test::FakeSdkInstance instance([&](const std::string&) { return run.deliveries; });
  const AgentPlatform platform = test::FakePlatform(instance, run.waits);
  int64_t value = 0;
  uint32_t code = 0;
  std::string answer;
  switch (run.operation) {
    case Operation::kScanWithWait:
    case Operation::kScanWithoutWait:
      code = StartFullScan(value, L"-startfullscan", platform, nullptr);
      answer = std::to_string(value);
      break;
    case Operation::kAssessment: {
      std::vector<CompetitorEntry> competitors;
      code = StartCompetitorsAssessment(competitors, L"-competitorsassessment", platform, nullptr);
      answer = FormatCompetitors(competitors);
      break;
    }
    case Operation::kRemoval: {
      std::vector<RemovalEntry> removals;
      code = StartCompetitorsRemoval(removals, {L"a"}, L"-removecompetitors", platform, nullptr);
      answer = FormatRemovals(removals);
      break;
    }
  }
  return code == 0 ? "0:" + answer : std::to_string(code);
}

TEST(LongRunningStressTest, RandomTimingEndsEveryRunWithAnAllowedOutcome) {
  for (int i = 0; i < kRuns; ++i) {
    const unsigned seed = 1000 + i;
    const PlannedRun run = Planner(seed).Plan();
    std::promise<std::string> done;
    std::future<std::string> outcome = done.get_future();
    std::thread command([&] { done.set_value(Execute(run)); });
    if (outcome.wait_for(kRunBound) != std::future_status::ready) {
      command.detach();
      FAIL() << "run " << seed << " did not end";
    }
    command.join();
    const std::string result = outcome.get();
    ASSERT_TRUE(run.allowed.count(result)) << "run " << seed << " gave " << result;
    ASSERT_EQ(test::liveEventThreads, 0) << "run " << seed << " left its event thread running";
  }
}

}  // namespace
}  // namespace tarn
