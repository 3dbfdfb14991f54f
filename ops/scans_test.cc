#include "ops/scans.h"

#include <gtest/gtest.h>

#include "agent/test_agent.h"

namespace tarn {
namespace {

// A session that fails as the library's signature check or loading does: before any request,
// so nothing raises the wait-finished flag.
uint32_t FailBeforeTheRequest(rapidjson::Document&, int32_t&, int64_t&, const std::wstring&,
                              const std::wstring&, const std::wstring&, Logger*) {
  return 1403;
}

TEST(ScanTest, ASessionThatFailsBeforeItsRequestStillStopsTheThread) {
  for (auto scan : {StartFullScan, StartQuickScan}) {
    test::ResetSessionState();
    SessionState.explicitTimeoutMs = 60000;
    int64_t endpointSdkError = 0;
    EXPECT_EQ(scan(endpointSdkError, L"-startfullscan",
                   {FailBeforeTheRequest, nullptr, test::NewStdEventThread}, nullptr),
              1403u);
    EXPECT_EQ(test::liveEventThreads, 0);
  }
}

}  // namespace
}  // namespace tarn
