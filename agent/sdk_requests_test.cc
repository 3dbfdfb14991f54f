#include "agent/sdk_requests.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

TEST(SdkRequestsTest, ReplyWaitFollowsTheCommandWordInAnyCase) {
  using std::chrono::seconds;
  const std::pair<const wchar_t*, seconds> cases[] = {
      {L"-startFullScan", seconds(172800)},
      {L"-STARTQUICKSCAN", seconds(21600)},
      {L"-competitorsAssessment", seconds(300)},
      {L"-removeCompetitors", seconds(300)},
      {L"-removeallcompetitors", seconds(300)},
      {L"-getproductversion", seconds(10)},
      {L"", seconds(10)},
      {L"-startfullscans", seconds(10)},
  };
  for (const auto& [command, timeout] : cases) EXPECT_EQ(ReplyTimeoutFor(command), timeout);
}

TEST(SdkRequestsTest, RequestIdIsTheLowerCaseGuidText) {
  const uint8_t data4[8] = {0x8A, 0x6C, 0x2D, 0x9B, 0x4F, 0x1E, 0x7A, 0x30};
  EXPECT_EQ(FormatRequestId(0x0F3A9C2E, 0x5B7D, 0x4E11, data4),
            "0f3a9c2e-5b7d-4e11-8a6c-2d9b4f1e7a30");
}

}  // namespace
}  // namespace tarn
