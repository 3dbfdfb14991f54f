// The child process runner's own failures. What it passes to a child that starts (the command
// line, non-ASCII included, the working folder and every bit of the exit code) is proved through
// the installer route (tests/e2e/lifecycle_test.cc), which reaches no failure of its own here.
#include "agent/process_runner.h"

#include <gtest/gtest.h>

#include "base/test_temp_dir.h"

namespace tarn {
namespace {

TEST(ProcessRunnerTest, MissingProgramIsTheSystemsCodeAndNothingStarts) {
  const TempDir dir;
  EXPECT_EQ(RunProcess((dir.path() / L"Installer.exe").wstring(), L" /arparams /silent"), 2u);
  EXPECT_EQ(RunProcess((dir.path() / L"absent" / L"Installer.exe").wstring(), L""), 3u);
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

}  // namespace
}  // namespace tarn
