#include "agent/product_events.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "agent/sdk_session_state.h"
#include "agent/test_agent.h"
#include "base/test_log_capture.h"

namespace tarn {
namespace {

constexpr char kContextToken[] = "library";
void* const kLibraryContext = const_cast<char*>(kContextToken);

class ProductEventsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::ResetSessionState();
    EventResults = ProductEventResults{};
    EventResults.runContext = {"o-1", "s-2"};
  }

  // Runs `body` on its own thread while `feed` queues events, and waits for it to end.
  void Run(EventThreadBody body, const std::function<void()>& feed) {
    test::StdEventThread thread;
    ASSERT_EQ(thread.Start(body, &EventResults), 0u);
    feed();
    ASSERT_EQ(thread.Join(std::chrono::seconds(10)), 0u) << "the event thread did not end";
  }
};

void Send(const char* name, const std::string& payload = "{}") {
  OnSdkEvent(kLibraryContext, name, payload.c_str());
}

std::string AssessmentEnded(const char* other, const char* products) {
  return std::string(R"({"@name":"Product.CompetitorRemoval.AssessmentEnded","runContext":)"
                     R"({"otherData":")") +
         other + R"(","someData":"s-2"},"products":)" + products + "}";
}

TEST_F(ProductEventsTest, ScanThreadTakesTheFirstScanEventOnly) {
  Run(ProcessProductEvents, [] {
    Send("FileScan.OnDemand.Progress");
    Send("filescan.ondemand.scanstarted");  // another event: names are exact
    Send(kScanFailedEvent);
    Send(kScanStartedEvent);  // after the decision: left in the queue
  });
  EXPECT_EQ(EventResults.scanEventResult, 5023u);
  EXPECT_TRUE(SessionState.productEventSeen);
  EXPECT_TRUE(SessionState.waitFinished);

  SetUp();
  Run(ProcessProductEvents, [] { Send(kScanStartedEvent); });
  EXPECT_EQ(EventResults.scanEventResult, 0u);
  EXPECT_TRUE(SessionState.productEventSeen);
}

TEST_F(ProductEventsTest, ScanThreadEndsWithoutResultOnReplyOrStop) {
  Run(ProcessProductEvents, [] {
    std::strcpy(SessionState.requestId, "id-1");
    OnSdkReply(kLibraryContext, "id-1", nullptr, "{}");
  });
  EXPECT_TRUE(SessionState.waitFinished);  // the reply decided: the session stops waiting
  EXPECT_FALSE(SessionState.productEventSeen);

  SetUp();
  Run(ProcessScanCompetitorsEvents, [] { RaiseFlag(SessionState, SessionState.waitFinished); });
  EXPECT_FALSE(SessionState.productEventSeen);
  EXPECT_TRUE(EventResults.assessment.empty());

  EXPECT_EQ(ProcessRemoveCompetitorsEvents(nullptr), 0u);  // no context: returns at once
}

TEST_F(ProductEventsTest, CompetitorThreadSkipsOtherRunsAndOtherEvents) {
  Run(ProcessScanCompetitorsEvents, [] {
    Send(kRemovalEndedEvent, AssessmentEnded("o-1", "{}"));
    Send(kAssessmentEndedEvent, AssessmentEnded("o-other", "{}"));
    EXPECT_FALSE(SessionState.waitFinished);  // neither is this run's answer
    Send(kAssessmentEndedEvent,
         AssessmentEnded("o-1", R"([{"id":"a","productName":"A","removalSupported":true}])"));
  });
  EXPECT_EQ(EventResults.assessmentResult, 0);
  ASSERT_EQ(EventResults.assessment.size(), 1u);
  EXPECT_EQ(EventResults.assessment[0].id, "a");
  EXPECT_TRUE(SessionState.productEventSeen);
}

TEST_F(ProductEventsTest, MalformedEventStillReleasesTheWaiters) {
  Run(ProcessRemoveCompetitorsEvents, [] {
    Send(kRemovalEndedEvent,
         R"({"@name":"Product.CompetitorRemoval.RemovalEnded","runContext":{"otherData":"o-1",)"
         R"("someData":"s-2"},"products":{"id":"a"}})");
  });
  EXPECT_EQ(EventResults.removalResult, 3);
  EXPECT_TRUE(SessionState.productEventSeen);
  EXPECT_TRUE(SessionState.waitFinished);
}

TEST_F(ProductEventsTest, WaitProcessOnProduct) {
  EXPECT_EQ(WaitProcessOnProduct(5, L"-competitorsassessment", nullptr), 5);
  EXPECT_EQ(WaitProcessOnProduct(0, L"-startQuickScan", nullptr), 0);
  EXPECT_FALSE(SessionState.waitFinished);  // nothing awaited, nothing stopped

  LogCapture log("tarn-product-wait");
  EXPECT_EQ(
      WaitProcessOnProduct(0, L"-REMOVEALLCOMPETITORS", log.get(), std::chrono::milliseconds(20)),
      1460);
  EXPECT_TRUE(SessionState.waitFinished);  // the event thread is told to stop
  EXPECT_EQ(log.Take(), (std::vector<std::string>{"Execute WaitProcessOnProduct",
                                                  "Execute WaitProcessOnProduct with timeout 21600",
                                                  "Execute WaitProcessOnProduct timeout error"}));

  SessionState.waitFinished = false;
  SessionState.productEventSeen = true;
  EXPECT_EQ(WaitProcessOnProduct(0, L"-removecompetitors", nullptr), 0);
  EXPECT_TRUE(SessionState.waitFinished);
}

}  // namespace
}  // namespace tarn
