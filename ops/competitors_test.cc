#include "ops/competitors.h"

#include <gtest/gtest.h>

#include "agent/test_agent.h"
#include "base/test_log_capture.h"

namespace tarn {
namespace {

using std::chrono::milliseconds;

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
}

// The replied run whose product event never comes for it: the wait's own line.
TEST(CompetitorsTest, OnlyAnotherRunsEventTimesOut) {
  const std::string anotherRun =
      R"({"@name":"Product.CompetitorRemoval.AssessmentEnded","runContext":{"otherData":"x",)"
      R"("someData":"y"},"products":[]})";
  test::ResetSessionState();
  test::FakeSdkInstance instance([&](const std::string&) {
    return std::vector<test::Delivery>{test::Reply("Product.CompetitorRemoval", 0),
                                       test::Event(kAssessmentEndedEvent, anotherRun)};
  });
  std::vector<CompetitorEntry> competitors;
  LogCapture log("tarn-assessment");
  EXPECT_EQ(StartCompetitorsAssessment(
                competitors, L"-competitorsassessment",
                test::FakePlatform(instance, {milliseconds(100), milliseconds(100)}), log.get()),
            1460u);
  EXPECT_TRUE(ContainsInOrder(log.Take(), {"Failed to execute Product.CompetitorRemoval."
                                           "StartAssessment. EndpointSdkError error code:1460"}));
  EXPECT_TRUE(competitors.empty());
}

TEST(CompetitorsTest, GuidFailureIsReturnedBeforeAnything) {
  const AgentPlatform platform{nullptr, [](std::string&) { return 1234u; }, nullptr};
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
