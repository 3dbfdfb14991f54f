// Update start, the on-demand scans and the last system scan, end to end against the simulated
// agent: the agent's reply, its scan events and its scan logs as scenarios.
#include <gtest/gtest.h>

#include <chrono>

#include "tests/e2e/simulated_agent.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

class ScanCommandsTest : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    ASSERT_EQ(sim::DeleteTree(sim::AgentDirectory() / L"Logs"), 0u);
  }
};

// A scenario whose scans answer with `entry` (the members of the method's entry).
std::string Scans(const std::string& entry) {
  return R"({"methods":{"FileScan.OnDemand.RunScanTask":{)" + entry + "}}}";
}

TEST_F(ScanCommandsTest, UpdateAndScansAnswerWithTheAgentsValue) {
  const std::string update = R"({"methods":{"Update.StartUpdate":)";
  const std::string event = "Product has an event. Scan error: ";
  const std::string call = "Could not execute method. Error code: ";
  const std::string failed =
      Scans(R"("delayMs":1000,"events":[{"name":"FileScan.OnDemand.ScanFailed"}])");
  Expect({
      {"", {L"-startupdate"}, {0, "0"}, "Finished to start update with error code: 0"},
      {update + R"({"reply":{"error":5}}}})",
       {L"-startupdate"},
       {0, "5"},
       "Finished to Start update with error code: 0"},
      {R"({"run":87})", {L"-startupdate"}, {50, ""}, "Failed to execute method. Error code: 50"},
      {update + R"({"rawReply":"[]"}}})",
       {L"-startupdate"},
       {0, "3"},
       "Invalid JSON. Response has parse errors or is not an object"},
      {"", {L"-startfullscan"}, {0, "0"}, call + "0"},
      {"", {L"-STARTQUICKSCAN", L"1000"}, {0, "0"}, event + "0"},
      {failed, {L"-startfullscan", L"5000"}, {0, "5023"}, event + "5023"},
      {Scans(R"("reply":{"error":7})"),
       {L"-startquickscan"},
       {0, "7"},
       "Finished starting quick scan with error code: 7"},
      {R"({"run":87})", {L"-startfullscan", L"60000"}, {50, ""}, call + "50"},
      {"", {L"-startfullscan", L"12a"}, {160, ""}, "Bad arguments"},
      {"", {L"-startquickscan", L"+5000"}, {160, ""}, "Bad arguments"},
      {"", {L"-startquickscan", L"5000", L"5000"}, {160, ""}, "Bad arguments."},
      {"", {L"-startupdate", L"now"}, {160, ""}, "Bad arguments"},
      {"", {L"-getlastsystemscan", L"x"}, {160, ""}, "Bad arguments"},
  });
  const auto requests = Journal("request");
  ASSERT_FALSE(requests.empty());
  EXPECT_STREQ(requests[0]["request"].GetString(),
               R"({"type":"oxsdk","data":{"Update":[{"@name":"StartUpdate","input":{}}]}})");
}

TEST_F(ScanCommandsTest, AReplyFirstEndsTheWaitAndTheLaterEventIsDropped) {
  Sandbox box;
  UseScenario(Scans(
      R"("reply":{"error":0},"events":[{"name":"FileScan.OnDemand.ScanFailed","delayMs":1500}])"));
  EXPECT_EQ(box.Run({L"-startfullscan", L"60000"}), (ToolRun{0, "0"}));
  const auto events = Journal("event");
  ASSERT_EQ(events.size(), 1u);
  EXPECT_FALSE(events[0]["delivered"].GetBool());  // the tool had gone
}

TEST_F(ScanCommandsTest, NoAnswerWithinTheWaitIs1460NotBeforeTheFloor) {
  Sandbox box;
  UseScenario(Scans(R"("noReply":true)"));
  const auto start = std::chrono::steady_clock::now();
  const ToolRun run = box.Run({L"-startquickscan", L"1000"});
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(run, (ToolRun{1460, ""}));
  EXPECT_GE(waited, std::chrono::milliseconds(5000));  // 1000 ms is raised to the 5000 ms floor
  EXPECT_TRUE(box.Logged("Could not execute method. Error code: 1460"));
}

const std::wstring kFull = L"full";
const std::wstring kQuick = L"quick";

TEST_F(ScanCommandsTest, LastSystemScanReadsTheNewestLogOfEachTask) {
  Sandbox box;
  EXPECT_EQ(box.Run({L"-getlastsystemscan"}), (ToolRun{0, ""}));  // no logs

  const auto write = [](const std::wstring& task, const wchar_t* file, const char* start,
                        int64_t lastWrite) {
    ASSERT_EQ(sim::WriteScanLog(sim::ScanTaskId(task), file, sim::ScanSummaryXml(start, "65500"),
                                lastWrite),
              0u);
  };
  // Which files are skipped, and ties, are the unit test's; the newer is listed last here, so a
  // listing that lost the file system's time stamps would take the older.
  write(kFull, L"a-older.xml", "1600000000", 1700002000);
  write(kFull, L"b-newer.xml", "1700000000", 1700003000);
  write(kQuick, L"q.xml", "1650000000", 1650001000);
  EXPECT_EQ(box.Run({L"-getlastsystemscan"}), (ToolRun{0, "1700000065|1650000065"}));
  EXPECT_TRUE(
      box.Logged("Find log: C:\\Program Files\\Arvantis\\TARN\\Logs\\system\\"
                 "dcf483c4-26d0-4e6f-ba28-6a53a00adae1"));

  ASSERT_EQ(sim::DeleteTree(sim::ScanLogFolder(sim::ScanTaskId(kFull))), 0u);
  EXPECT_EQ(box.Run({L"-getlastsystemscan"}).out, "1650000065");
}

TEST_F(ScanCommandsTest, AMalformedNewestLogFailsWithoutFallingBack) {
  for (const auto& task : {kFull, kQuick}) {
    ASSERT_EQ(sim::WriteScanLog(sim::ScanTaskId(task), L"old.xml",
                                sim::ScanSummaryXml("1700000000", "0"), 1700000000),
              0u);
  }
  const struct {
    std::string content;
    const char* line;
  } cases[] = {
      {"<ScanSummary><startTime>1</startTime>", "Invalid XML file"},
      {"<Scan><startTime>1</startTime><duration>1</duration></Scan>",
       "Invalid XML file. Could not find \"ScanSummary\" node"},
      {"<ScanSummary><duration>1</duration></ScanSummary>",
       "Invalid XML file. Could not find \"startTime\" node"},
      {"<ScanSummary><startTime>1</startTime></ScanSummary>",
       "Invalid XML. Could not find \"duration\" node"},
  };
  for (const auto& c : cases) {
    Sandbox box;
    ASSERT_EQ(sim::WriteScanLog(sim::ScanTaskId(kFull), L"new.xml", c.content, 1700001000), 0u);
    EXPECT_EQ(box.Run({L"-getlastsystemscan"}), (ToolRun{13, ""})) << c.line;
    EXPECT_EQ(box.LogMessages().back(), c.line);
  }
}

}  // namespace
}  // namespace tarn::e2e
