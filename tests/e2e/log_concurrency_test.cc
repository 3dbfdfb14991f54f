// Runs that overlap share one log.txt: every line of every run must arrive whole. Guarded runs
// with an undecodable certificate log a dozen lines and stop before any registry or agent work.
#include <gtest/gtest.h>

#include <map>

#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

const std::vector<std::wstring> kRun = {
    L"-competitorsassessment", L"-authToken",     L"QUFB", L"-certificate",
    L"!not base64!",           L"-executionTime", L"QUFB"};

// The messages of log.txt and how often each came (LogMessages fails the test on a broken line).
std::map<std::string, int> CountLines(const Sandbox& box) {
  std::map<std::string, int> counts;
  for (const std::string& message : box.LogMessages()) ++counts[message];
  return counts;
}

TEST(LogConcurrencyTest, OverlappingRunsLoseNoLine) {
  constexpr int kProcesses = 16, kRounds = 16;
  Sandbox box;
  const ToolRun alone = box.Run(kRun);
  const std::map<std::string, int> oneRun = CountLines(box);
  ASSERT_GE(oneRun.size(), 10u);

  for (int round = 0; round < kRounds; ++round) {
    std::vector<std::unique_ptr<RunningTool>> running;
    for (int i = 0; i < kProcesses; ++i) running.push_back(box.Start(kRun));
    for (auto& tool : running) {
      ASSERT_TRUE(tool);
      EXPECT_EQ(tool->Wait().exitCode, alone.exitCode);
    }
  }

  // Every message as often as one run writes it times the runs; nothing else.
  std::map<std::string, int> want = oneRun;
  for (auto& [message, count] : want) count *= 1 + kProcesses * kRounds;
  EXPECT_EQ(CountLines(box), want);
}

}  // namespace
}  // namespace tarn::e2e
