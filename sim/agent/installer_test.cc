// The installer stand-ins' behaviour files as a test writes them by hand: comments, CR LF line
// ends, both roles, and the refusal of a value it cannot read. (The command line, the working
// folder and the full exit code are what the end-to-end tests of the tool read back.)
#include <gtest/gtest.h>

#include "agent/process_runner.h"
#include "sim/agent/test_support.h"

namespace tarn::sim {
namespace {

using testing::BuildKit;

TEST(InstallerStandInTest, BehaviourFileSetsTheExitCodeOrIsRefused) {
  const struct {
    Module module;
    const char* behavior;
    uint32_t exitCode;
  } cases[] = {
      {Module::kInstaller, "# removal\r\nexit-code=3010\r\n", 3010},
      {Module::kSetupDownloader, "wait-ms=10\nexit-code=16010\n", 16010},
      {Module::kSetupDownloader, "exit-code=12a\n", 13},
      {Module::kSetupDownloader, "wait-ms=soon\n", 13},
      {Module::kInstaller, "services=maybe\n", 13},
  };
  for (const auto& c : cases) {
    TempDir dir;
    const std::filesystem::path program = dir.path() / ModuleFileName(c.module);
    ASSERT_EQ(CopyFileTo(BuildKit().root / L"bin" / ModuleFileName(c.module), program), 0u);
    ASSERT_EQ(WriteFileBytes(BehaviorFile(c.module, dir.path()), c.behavior), 0u);
    EXPECT_EQ(RunProcess(program.wstring(), L"x"), c.exitCode) << c.behavior;
  }
}

}  // namespace
}  // namespace tarn::sim
