#include "ops/competitors.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "agent/product_events.h"
#include "agent/test_agent.h"
#include "base/test_log_capture.h"
#include "base/text.h"

namespace tarn {
namespace {

using std::chrono::milliseconds;
using test::Delivery;
using test::Event;
using test::Reply;
using test::ReplyText;

// The fake platform's first two GUIDs: this run's context.
const RunContext kFirstRun{"00000001-0000-4000-8000-000000000000",
                           "00000002-0000-4000-8000-000000000000"};

std::string Payload(const char* name, const RunContext& context, const std::string& products) {
  return std::string(R"({"@name":")") + name + R"(","runContext":{"otherData":")" +
         context.otherData + R"(","someData":")" + context.someData + R"("},"products":)" +
         products + "}";
}

const std::string kReplyOk = ReplyText("Product.CompetitorRemoval", 0);
const std::string kTwoProducts = R"([{"id":"a","productName":"A","removalSupported":true},)"
                                 R"({"id":"b","productName":"B","removalSupported":false}])";

TEST(CompetitorsTest, RequestsAreByteForByte) {
  const RunContext context{"o", "s"};
  EXPECT_EQ(AssessmentRequest(context),
            LR"({ "type": "oxsdk", "data":{ "Product.CompetitorRemoval":[ { "@name": )"
            LR"("StartAssessment", "input": { "runContext": { "otherData": "o", "someData": "s" )"
            LR"(} } } ] } })");
  EXPECT_EQ(RemovalRequest({L"a", L"b\"c"}, context),
            LR"({ "type": "oxsdk", "data":{ "Product.CompetitorRemoval":[ { "@name": )"
            LR"("StartRemoval", "input": { "ids":[ "a", "b"c" ], "runContext": { "otherData": )"
            LR"("o", "someData": "s" } } } ] } })");
  EXPECT_NE(RemovalRequest({}, context).find(LR"("ids":[  ], )"), std::wstring::npos);
}

TEST(CompetitorsTest, AnswerLists) {
  EXPECT_EQ(FormatCompetitors({{"a", "A", true}, {"b", "B b", false}}),
            "id=a|productName=A|removalSupported=1||id=b|productName=B b|removalSupported=0");
  EXPECT_EQ(FormatRemovals({{"a", "removed", ""}, {"b", "notFound", "B"}}),
            "id=a|productName=|status=removed||id=b|productName=B|status=notFound");
  EXPECT_EQ(FormatCompetitors({}), "");
}

struct Outcome {
  uint32_t result;
  std::string answer;
  std::vector<std::string> log;
  std::vector<std::string> requests;
};

Outcome Assess(std::vector<Delivery> deliveries, int32_t runResult = 0, test::Waits waits = {}) {
  test::ResetSessionState();
  test::FakeSdkInstance instance([&](const std::string&) { return deliveries; });
  instance.runResult = runResult;
  LogCapture log("tarn-assessment");
  std::vector<CompetitorEntry> competitors;
  Outcome outcome{};
  outcome.result = StartCompetitorsAssessment(competitors, L"-competitorsAssessment",
                                              test::FakePlatform(instance, waits), log.get());
  outcome.answer = FormatCompetitors(competitors);
  outcome.log = log.Take();
  outcome.requests = instance.requests;
  EXPECT_EQ(test::liveEventThreads, 0) << "an event thread outlived the assessment";
  return outcome;
}

bool Has(const std::vector<std::string>& log, const std::string& line) {
  return std::find(log.begin(), log.end(), line) != log.end();
}

TEST(CompetitorsTest, AssessmentTakesThisRunsEvent) {
  const Outcome outcome =
      Assess({Reply(kReplyOk),
              Event(kAssessmentEndedEvent, Payload(kAssessmentEndedEvent, {"x", "y"}, "[]")),
              Event(kAssessmentEndedEvent, Payload(kAssessmentEndedEvent, kFirstRun, kTwoProducts),
                    milliseconds(30))});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.answer,
            "id=a|productName=A|removalSupported=1||id=b|productName=B|removalSupported=0");
  ASSERT_EQ(outcome.requests.size(), 1u);
  EXPECT_EQ(outcome.requests[0], WideToUtf8(AssessmentRequest(kFirstRun)));
  EXPECT_EQ(outcome.log[0], "Execute RemoveTARNCompetitorsAssessment");
  EXPECT_EQ(outcome.log[1],
            "Create remove TARN Competitors Assessment thread with ProcessScanCompetitorsEvents");
  EXPECT_TRUE(Has(outcome.log, "Execute WaitProcessOnProduct with timeout 3600"));
}

TEST(CompetitorsTest, AssessmentFailures) {
  const auto malformed = [](const std::string& products) {
    return std::vector<Delivery>{
        Reply(kReplyOk),
        Event(kAssessmentEndedEvent, Payload(kAssessmentEndedEvent, kFirstRun, products))};
  };
  struct Case {
    const char* what;
    std::vector<Delivery> deliveries;
    int32_t runResult;
    uint32_t result;
    const char* line;
  } cases[] = {
      {"malformed products", malformed("{}"), 0, 3,
       "Failed to get competitors list. Error code: 3"},
      {"malformed entry", malformed(R"([{"id":"a","productName":"A"}])"), 0, 3,
       "Failed to get competitors list. Error code: 3"},
      {"the agent's error, no event",
       {Reply(ReplyText("Product.CompetitorRemoval", 5))},
       0,
       5,
       "Failed to execute Product.CompetitorRemoval.StartAssessment. EndpointSdkError error "
       "code:5"},
      {"request refused",
       {},
       87,
       50,
       "Failed to execute Product.CompetitorRemoval.StartAssessment. Error code:50"},
      {"no reply", {}, 0, 1460, "Failed to run instance due to timeout"},
      {"no event of this run",
       {Reply(kReplyOk),
        Event(kAssessmentEndedEvent, Payload(kAssessmentEndedEvent, {"x", "y"}, kTwoProducts))},
       0,
       1460,
       "Execute WaitProcessOnProduct timeout error"},
  };
  for (const Case& c : cases) {
    const Outcome outcome =
        Assess(c.deliveries, c.runResult, {milliseconds(200), milliseconds(200)});
    EXPECT_EQ(outcome.result, c.result) << c.what;
    EXPECT_EQ(outcome.answer, "") << c.what;
    EXPECT_TRUE(Has(outcome.log, c.line)) << c.what << ": no \"" << c.line << "\"";
  }
}

TEST(CompetitorsTest, AnEventNamedOtherwiseInsideEndsWithNothing) {
  const Outcome outcome =
      Assess({Reply(kReplyOk),
              Event(kAssessmentEndedEvent, Payload(kRemovalEndedEvent, kFirstRun, kTwoProducts))});
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.answer, "");
}

TEST(CompetitorsTest, RemovalSendsTheIdsAndTakesItsEvent) {
  test::ResetSessionState();
  test::FakeSdkInstance instance([](const std::string&) {
    return std::vector<Delivery>{
        Reply(kReplyOk),
        Event(kRemovalEndedEvent, Payload(kRemovalEndedEvent, kFirstRun,
                                          R"([{"id":"a","status":"removed"},)"
                                          R"({"id":"b","status":"notFound","productName":"B"}])"))};
  });
  std::vector<RemovalEntry> removals;
  const std::vector<std::string> log = LogOf([&](Logger* logger) {
    EXPECT_EQ(StartCompetitorsRemoval(removals, {L"a", L"b"}, L"-removeallcompetitors",
                                      test::FakePlatform(instance), logger),
              0u);
  });
  EXPECT_EQ(FormatRemovals(removals),
            "id=a|productName=|status=removed||id=b|productName=B|status=notFound");
  ASSERT_EQ(instance.requests.size(), 1u);
  EXPECT_EQ(instance.requests[0], WideToUtf8(RemovalRequest({L"a", L"b"}, kFirstRun)));
  EXPECT_EQ(log[0], "Create remove TARN Competitors thread with ProcessRemoveCompetitorsEvents");
  EXPECT_TRUE(Has(log, "Execute WaitProcessOnProduct with timeout 21600"));
  EXPECT_EQ(test::liveEventThreads, 0);
}

TEST(CompetitorsTest, GuidFailureIsReturnedBeforeAnything) {
  AgentPlatform platform{nullptr, [](std::string&) { return 1234u; }, nullptr};
  std::vector<CompetitorEntry> competitors;
  std::vector<RemovalEntry> removals;
  std::vector<std::string> log = LogOf([&](Logger* logger) {
    EXPECT_EQ(StartCompetitorsAssessment(competitors, L"-competitorsassessment", platform, logger),
              1234u);
  });
  EXPECT_EQ(log, (std::vector<std::string>{"Execute RemoveTARNCompetitorsAssessment",
                                           "Failed to create GUID"}));
  log = LogOf([&](Logger* logger) {
    EXPECT_EQ(StartCompetitorsRemoval(removals, {}, L"-removecompetitors", platform, logger),
              1234u);
  });
  EXPECT_TRUE(log.empty());
}

}  // namespace
}  // namespace tarn
