#include "ops/competitors.h"

#include <gtest/gtest.h>

#include "base/test_log_capture.h"

namespace tarn {
namespace {

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
