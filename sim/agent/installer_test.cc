// The installer stand-ins started as the tool starts them: CreateProcessW with an application
// path and a command line of the caller's making, full 32-bit exit code read back.
#include <gtest/gtest.h>

#include "base/text.h"
#include "sim/agent/test_support.h"

namespace tarn::sim {
namespace {

using testing::BuildKit;
using testing::RunProgram;
using testing::TempDir;

TEST(InstallerStandInTest, RecordsTheExactCommandLineAndExitsWithTheChosenCode) {
  const struct {
    Module module;
    const char* behavior;  // null: no behaviour file
    std::wstring commandLine;
    uint32_t exitCode;
  } cases[] = {
      {Module::kInstaller, nullptr, L" /arparams /silent", 0},
      {Module::kInstaller, "exit-code=3010\n",
       L" configFile=\"C:\\with blank\\installer.xml\" /arparams /silent", 3010},
      {Module::kInstaller, "# removal\r\nexit-code=3221225477\r\n",
       L"\"C:\\x\\Installer.exe\" /remove /silent passmd5=p\"w \xE9\x20AC", 3221225477u},
      {Module::kSetupDownloader, "wait-ms=10\nexit-code=16010\n", L" /arparams /silent", 16010},
      {Module::kSetupDownloader, "exit-code=-1\n", L" /arparams /silent", 4294967295u},
      {Module::kSetupDownloader, "exit-code=12a\n", L"x", 13},
      {Module::kSetupDownloader, "services=maybe\n", L"x", 13},
  };
  for (const auto& c : cases) {
    TempDir dir;
    const std::filesystem::path program = dir.path() / ModuleFileName(c.module);
    ASSERT_EQ(CopyFileTo(BuildKit().root / L"bin" / ModuleFileName(c.module), program), 0u);
    if (c.behavior) {
      ASSERT_EQ(WriteFileBytes(BehaviorFile(c.module, dir.path()), c.behavior), 0u);
    }

    for (int run = 0; run < 2; ++run) {
      EXPECT_EQ(RunProgram(program, c.commandLine), c.exitCode) << c.commandLine;
    }
    std::vector<std::string> calls;
    ASSERT_EQ(ReadCallRecord(c.module, dir.path(), &calls), 0u);
    const std::string expected = WideToUtf8(c.commandLine);
    EXPECT_EQ(calls, std::vector<std::string>(2, expected));
    std::vector<std::string> folders;  // started without a folder of their own: the parent's
    ASSERT_EQ(ReadWorkingFolderRecord(c.module, dir.path(), &folders), 0u);
    EXPECT_EQ(folders,
              std::vector<std::string>(2, WideToUtf8(std::filesystem::current_path().wstring())));
  }
}

TEST(InstallerStandInTest, RecordsByRoleWhateverItsFileIsCalled) {
  TempDir dir;
  const std::filesystem::path program = dir.path() / L"TARN-setup-1.2.exe";
  ASSERT_EQ(CopyFileTo(BuildKit().root / L"bin" / L"setupdownloader.exe", program), 0u);
  EXPECT_EQ(RunProgram(program, L" /arparams /silent"), 0u);
  std::vector<std::string> calls;
  ASSERT_EQ(ReadCallRecord(Module::kSetupDownloader, dir.path(), &calls), 0u);
  EXPECT_EQ(calls, std::vector<std::string>{" /arparams /silent"});
}

// The removal reaches the installer through the command interpreter: the stand-in still sees
// the quoted program path and the switches, and its exit code passes through whole.
TEST(InstallerStandInTest, StartedThroughTheCommandInterpreterAsARemoval) {
  TempDir dir;
  const std::filesystem::path program = dir.path() / L"with blank" / L"Installer.exe";
  ASSERT_EQ(CopyFileTo(BuildKit().root / L"bin" / L"Installer.exe", program), 0u);
  ASSERT_EQ(WriteBehavior(Module::kInstaller, program.parent_path(), {{"exit-code", "16010"}}), 0u);
  wchar_t windows[MAX_PATH];
  ASSERT_NE(GetWindowsDirectoryW(windows, MAX_PATH), 0u);
  const std::wstring interpreter = std::wstring(windows) + L"\\System32\\cmd.exe";
  EXPECT_EQ(RunProgram(interpreter,
                       L" cmd /c \"" + program.wstring() + L"\" /remove /silent passmd5=abc"),
            16010u);
  std::vector<std::string> calls;
  ASSERT_EQ(ReadCallRecord(Module::kInstaller, program.parent_path(), &calls), 0u);
  EXPECT_EQ(calls, std::vector<std::string>{"\"" + WideToUtf8(program.wstring()) +
                                            "\" /remove /silent passmd5=abc"});
}

}  // namespace
}  // namespace tarn::sim
