#include "agent/product_events.h"

#include <gtest/gtest.h>

#include "agent/sdk_session_state.h"
#include "agent/test_agent.h"
#include "base/test_log_capture.h"

namespace tarn {
namespace {

TEST(ProductEventsTest, ScanThreadTakesTheFirstScanEventByItsExactName) {
  test::ResetSessionState();
  test::StdEventThread thread;
  ASSERT_EQ(thread.Start(ProcessProductEvents, &EventResults), 0u);
  OnSdkEvent(nullptr, kScanStartedEvent, "{}");  // without the library's context: ignored
  static char library[] = "library";
  for (const char* name : {"FileScan.OnDemand.Progress", "filescan.ondemand.scanstarted",
                           kScanFailedEvent, kScanStartedEvent}) {
    OnSdkEvent(library, name, "{}");
  }
  ASSERT_EQ(thread.Join(std::chrono::seconds(10)), 0u);
  EXPECT_EQ(EventResults.scanEventResult, 5023u);
  EXPECT_TRUE(SessionState.productEventSeen);
  EXPECT_TRUE(SessionState.waitFinished);
  EXPECT_EQ(ProcessRemoveCompetitorsEvents(nullptr), 0u);  // no context: returns at once
}

TEST(ProductEventsTest, WaitProcessOnProduct) {
  test::ResetSessionState();
  EXPECT_EQ(WaitProcessOnProduct(5, L"-competitorsassessment", nullptr), 5);
  EXPECT_EQ(WaitProcessOnProduct(0, L"-startQuickScan", nullptr), 0);
  EXPECT_FALSE(SessionState.waitFinished);  // nothing awaited, nothing stopped

  LogCapture log("tarn-product-wait");
  EXPECT_EQ(
      WaitProcessOnProduct(0, L"-REMOVEALLCOMPETITORS", log.get(), std::chrono::milliseconds(20)),
      1460);
  EXPECT_TRUE(SessionState.waitFinished);  // the event thread is told to stop
  EXPECT_TRUE(ContainsInOrder(log.Take(), {"Execute WaitProcessOnProduct with timeout 21600",
                                           "Execute WaitProcessOnProduct timeout error"}));
}

}  // namespace
}  // namespace tarn
