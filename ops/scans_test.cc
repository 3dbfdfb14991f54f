#include "ops/scans.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "agent/product_events.h"
#include "agent/test_agent.h"
#include "base/test_log_capture.h"

namespace tarn {
namespace {

using std::chrono::milliseconds;
using test::Delivery;
using test::Event;
using test::Reply;
using test::ReplyText;

bool Has(const std::vector<std::string>& log, const std::string& line) {
  return std::find(log.begin(), log.end(), line) != log.end();
}

struct ScanOutcome {
  uint32_t result;
  int64_t endpointSdkError;
  std::vector<std::string> log;
  std::vector<std::string> requests;
};

// A full scan against a library that sends `deliveries`, with an explicit wait (ms; negative:
// none).
ScanOutcome FullScan(std::vector<Delivery> deliveries, int64_t explicitWaitMs,
                     int32_t runResult = 0) {
  test::ResetSessionState();
  SessionState.explicitTimeoutMs = explicitWaitMs;
  test::FakeSdkInstance instance([&](const std::string&) { return deliveries; });
  instance.runResult = runResult;
  LogCapture log("tarn-scan");
  ScanOutcome outcome{};
  outcome.endpointSdkError = -1;
  outcome.result = StartFullScan(outcome.endpointSdkError, L"-StartFullScan",
                                 test::FakePlatform(instance, {milliseconds(500)}), log.get());
  outcome.log = log.Take();
  outcome.requests = instance.requests;
  EXPECT_EQ(test::liveEventThreads, 0) << "an event thread outlived the scan";
  return outcome;
}

const std::string kReplyOk = ReplyText("FileScan.OnDemand", 0);
constexpr milliseconds kLater(300);

TEST(ScanTest, WithAWaitTheFirstOfReplyAndScanEventDecides) {
  struct Case {
    const char* what;
    std::vector<Delivery> deliveries;
    uint32_t result;
    int64_t endpointSdkError;
    const char* line;  // must be logged
  } cases[] = {
      {"scan started",
       {Event(kScanStartedEvent), Reply(kReplyOk, kLater)},
       0,
       0,
       "Product has an event. Scan error: 0"},
      {"scan failed",
       {Event(kScanFailedEvent), Reply(kReplyOk, kLater)},
       0,
       5023,
       "Product has an event. Scan error: 5023"},
      {"other names and other cases are skipped",
       {Event("FileScan.OnDemand.scanfailed"), Event("FileScan.OnDemand.Progress"),
        Event(kScanFailedEvent, "{}", milliseconds(20))},
       0,
       5023,
       "Product has an event. Scan error: 5023"},
      {"the reply first; the later event is dropped",
       {Reply(ReplyText("FileScan.OnDemand", 7)), Event(kScanFailedEvent, "{}", kLater)},
       0,
       7,
       "Finished starting Full scan with error code: 0"},
      {"neither", {}, 1460, 3, "Failed to run instance due to timeout"},
      {"only skipped events",
       {Event("FileScan.OnDemand.SCANSTARTED")},
       1460,
       3,
       "Could not execute method. Error code: 1460"},
  };
  for (const Case& c : cases) {
    // A decided scan ends at once; only the undecided ones wait the whole time.
    const ScanOutcome outcome = FullScan(c.deliveries, c.result == 1460 ? 100 : 10000);
    EXPECT_EQ(outcome.result, c.result) << c.what;
    if (c.result == 0) {
      EXPECT_EQ(outcome.endpointSdkError, c.endpointSdkError) << c.what;
    }
    EXPECT_TRUE(Has(outcome.log, c.line)) << c.what << ": no \"" << c.line << "\"";
    EXPECT_TRUE(Has(outcome.log, "Create full scan thread with ProcessProductEvents")) << c.what;
  }
}

TEST(ScanTest, WithoutAWaitOnlyTheReplyCounts) {
  const ScanOutcome outcome =
      FullScan({Event(kScanFailedEvent), Reply(ReplyText("FileScan.OnDemand", 9), kLater)}, -1);
  EXPECT_EQ(outcome.result, 0u);
  EXPECT_EQ(outcome.endpointSdkError, 9);
  EXPECT_FALSE(Has(outcome.log, "Create full scan thread with ProcessProductEvents"));
  EXPECT_TRUE(Has(outcome.log, "Could not execute method. Error code: 0"));
  ASSERT_EQ(outcome.requests.size(), 1u);
  EXPECT_EQ(outcome.requests[0],
            R"({"type":"none","data":{"FileScan.OnDemand":[{"@name":"RunScanTask","input":)"
            R"({"runCustomTask":false,"storedScanTask":{"userSid":"","taskId":)"
            R"("dcf483c4-26d0-4e6f-ba28-6a53a00adae1"},"customScanTask":{}}}]}})");
}

TEST(ScanTest, ASessionThatFailsBeforeItsRequestStillStopsTheThread) {
  const ScanOutcome refused = FullScan({Event(kScanStartedEvent)}, 60000, 87);
  EXPECT_EQ(refused.result, 50u);  // FullScan checked that the thread was joined

  // Failures before the request never touch the flags: the scan itself must stop its thread.
  test::ResetSessionState();
  SessionState.explicitTimeoutMs = 60000;
  AgentPlatform platform{[](rapidjson::Document&, int32_t&, int64_t&, const std::wstring&,
                            const std::wstring&, const std::wstring&, Logger*) { return 1403u; },
                         nullptr, test::NewStdEventThread};
  int64_t endpointSdkError = 0;
  EXPECT_EQ(StartQuickScan(endpointSdkError, L"-startquickscan", platform, nullptr), 1403u);
  EXPECT_EQ(test::liveEventThreads, 0);
}

TEST(ScanTest, UpdateReturnsTheSessionResultWithItsOwnCommandWord) {
  std::wstring command;
  AgentPlatform platform{
      [&](rapidjson::Document&, int32_t&, int64_t& endpointSdkError, const std::wstring& method,
          const std::wstring& request, const std::wstring& commandName, Logger*) {
        command = commandName;
        EXPECT_EQ(method, L"Update.StartUpdate");
        EXPECT_EQ(request, L"");  // the template
        endpointSdkError = 4;
        return 0u;
      },
      nullptr, nullptr};
  int64_t endpointSdkError = 0;
  EXPECT_EQ(StartUpdate(endpointSdkError, platform, nullptr), 0u);
  EXPECT_EQ(endpointSdkError, 4);
  EXPECT_EQ(command, L"-startupdate");

  test::ResetSessionState();
  test::FakeSdkInstance refusing([](const std::string&) { return std::vector<Delivery>{}; });
  refusing.runResult = 87;
  const std::vector<std::string> log = LogOf([&](Logger* logger) {
    EXPECT_EQ(StartUpdate(endpointSdkError, test::FakePlatform(refusing), logger), 50u);
  });
  EXPECT_TRUE(Has(log, "Failed to execute method. Error code: 50"));
  EXPECT_TRUE(Has(log, "Finished to Start update with error code: 50"));
}

}  // namespace
}  // namespace tarn
