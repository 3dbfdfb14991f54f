// The child process runner against the installer stand-in, which records how it was started.
#include "agent/process_runner.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "sim/agent/sim_control.h"
#include "sim/agent/test_support.h"

namespace tarn {
namespace {

using sim::Module;

TEST(ProcessRunnerTest, PassesTheCommandLineAndTheExitCodeThroughUnchanged) {
  sim::testing::TempDir dir;
  const std::filesystem::path program = dir.path() / L"Installer.exe";
  ASSERT_EQ(sim::CopyFileTo(sim::testing::BuildKit().root / L"bin" / L"Installer.exe", program),
            0u);
  const struct {
    const char* exitCode;
    uint32_t expected;
  } cases[] = {
      {"0", 0},
      {"3010", 3010},
      {"16010", 16010},
      {"3221225477", 3221225477u},
      {"-1", 4294967295u},
      {"-2147467259", 2147500037u},
  };
  const std::wstring commandLine =
      L" configFile=\"C:\\with blank\\installer.xml\" /arparams "
      L"/silent passmd5=\x00E9\x20AC";
  for (const auto& c : cases) {
    ASSERT_EQ(sim::WriteBehavior(Module::kInstaller, dir.path(), {{"exit-code", c.exitCode}}), 0u);
    EXPECT_EQ(RunProcess(program.wstring(), commandLine), c.expected) << c.exitCode;
  }
  std::vector<std::string> calls, folders;
  ASSERT_EQ(sim::ReadCallRecord(Module::kInstaller, dir.path(), &calls), 0u);
  ASSERT_EQ(sim::ReadWorkingFolderRecord(Module::kInstaller, dir.path(), &folders), 0u);
  EXPECT_EQ(calls, std::vector<std::string>(std::size(cases), WideToUtf8(commandLine)));
  EXPECT_EQ(folders, std::vector<std::string>(
                         std::size(cases), WideToUtf8(std::filesystem::current_path().wstring())));
}

TEST(ProcessRunnerTest, MissingProgramIsTheSystemsCodeAndNothingStarts) {
  sim::testing::TempDir dir;
  EXPECT_EQ(RunProcess((dir.path() / L"Installer.exe").wstring(), L" /arparams /silent"), 2u);
  EXPECT_EQ(RunProcess((dir.path() / L"absent" / L"Installer.exe").wstring(), L""), 3u);
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

}  // namespace
}  // namespace tarn
