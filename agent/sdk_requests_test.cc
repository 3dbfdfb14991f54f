#include "agent/sdk_requests.h"

#include <gtest/gtest.h>

#include "base/command_facts.h"

namespace tarn {
namespace {

TEST(SdkRequestsTest, ReplyWaitFollowsTheCommandWord) {
  using std::chrono::seconds;
  const std::pair<Command, seconds> cases[] = {
      {Command::kStartFullScan, seconds(172800)},      {Command::kStartQuickScan, seconds(21600)},
      {Command::kCompetitorsAssessment, seconds(300)}, {Command::kRemoveCompetitors, seconds(300)},
      {Command::kRemoveAllCompetitors, seconds(300)},  {Command::kGetProductVersion, seconds(10)},
  };
  // The word is looked up as every command word is: the case rule is CommandFactsTest's.
  for (const auto& [command, timeout] : cases) {
    EXPECT_EQ(ReplyTimeoutFor(FactsOf(command).word), timeout);
  }
  EXPECT_EQ(ReplyTimeoutFor(L"-startfullscans"), seconds(10));  // no command
}

TEST(SdkRequestsTest, RequestIdIsTheLowerCaseGuidText) {
  const uint8_t data4[8] = {0x8A, 0x6C, 0x2D, 0x9B, 0x4F, 0x1E, 0x7A, 0x30};
  EXPECT_EQ(FormatRequestId(0x0F3A9C2E, 0x5B7D, 0x4E11, data4),
            "0f3a9c2e-5b7d-4e11-8a6c-2d9b4f1e7a30");
}

}  // namespace
}  // namespace tarn
