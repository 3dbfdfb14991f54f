// "-getinstallationlink" end to end: the real tool beside a signed variant of the simulated
// kv.dll, which records the arguments it receives.
#include <gtest/gtest.h>
#include <windows.h>

#include "base/win_handles.h"
#include "sim/agent/sim_control.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

using sim::Module;

class InstallationLinkCommandTest : public ::testing::Test {
 protected:
  void UseLibrary(const wchar_t* variant) {
    ASSERT_EQ(sim::CopyModuleVariant(kit_, Module::kKv, variant, box_.dir() / "kv.dll"), 0u);
  }
  std::vector<std::string> Calls() {
    std::vector<std::string> calls;
    EXPECT_EQ(sim::ReadCallRecord(Module::kKv, box_.dir(), &calls), 0u);
    return calls;
  }
  void ClearLog() { box_.WriteFile("log.txt", ""); }

  static ToolRun Run(const Sandbox& box) {
    return box.Run({L"-getinstallationlink", L"-kvUrl", L"https://kv.example", L"-apiKey", L"k-1",
                    L"-packageName", L"Workstations"});
  }

  sim::Kit kit_ = sim::KitOfBuildTree(BuildDirectory());
  Sandbox box_;
};

TEST_F(InstallationLinkCommandTest, ArgumentsReachTheLibraryUnchangedAndItsLinksArePrinted) {
  UseLibrary(L"timestamped");
  // Options in any order and letter case; values with blanks, quotes and non-ASCII text.
  const ToolRun run =
      box_.Run({L"-GetInstallationLink", L"-PackageName", L"B\u00fcro \"Z\u00fcrich\" \u2713",
                L"-APIKEY", L"key \u00e9", L"-kvurl", L"https://kv.example/\u65e5\u672c"});
  const std::string url = "https://kv.example/\xe6\x97\xa5\xe6\x9c\xac";
  const std::string key = "key \xc3\xa9";
  const std::string package = "B\xc3\xbcro \"Z\xc3\xbcrich\" \xe2\x9c\x93";
  // The stand-in's answer is made of the arguments it received (legacy=0: not Windows 7).
  EXPECT_EQ(run, (ToolRun{0, url + "/download/" + package + "?apiKey=" + key + "&legacy=0"}));
  EXPECT_TRUE(box_.Logged("kv.dll file path: " + box_.dir().string() + "\\kv.dll"));
}

TEST_F(InstallationLinkCommandTest, TheLibrarysResultIsReturnedAndOnlySuccessPrints) {
  UseLibrary(L"legacy-timestamp");
  const struct {
    const char* behavior;
    uint32_t exitCode;
    const char* out;
  } cases[] = {
      {"links=https://a.example/x.exe|https://b.example/y.exe\n", 0,
       "https://a.example/x.exe|https://b.example/y.exe"},
      {"result=2147500037\nlinks=partial\n", 2147500037u, ""},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(sim::WriteFileBytes(sim::BehaviorFile(Module::kKv, box_.dir()), c.behavior), 0u);
    ClearLog();
    EXPECT_EQ(Run(box_), (ToolRun{c.exitCode, c.out})) << c.behavior;
    EXPECT_TRUE(box_.Logged("Method finished with exit code: " + std::to_string(c.exitCode)));
  }
}

// Every signature outcome is pinned with the agent's library; this route passes on the check's
// code and names the maker. A library held open for writing could change between check and load.
TEST_F(InstallationLinkCommandTest, UnverifiedOrHeldOpenLibrariesAreNeverLoaded) {
  const struct {
    const wchar_t* variant;
    uint32_t exitCode;
    bool heldOpen = false;
  } cases[] = {{L"unsigned", 0x800B0100}, {L"foreign", 1168}, {L"timestamped", 32, true}};
  for (const auto& c : cases) {
    UseLibrary(c.variant);
    ClearLog();
    const UniqueFileHandle writer(c.heldOpen ? CreateFileW((box_.dir() / "kv.dll").c_str(),
                                                           GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                                           OPEN_EXISTING, 0, nullptr)
                                             : INVALID_HANDLE_VALUE);
    EXPECT_EQ(Run(box_), (ToolRun{c.exitCode, ""})) << c.variant;
    EXPECT_TRUE(box_.Logged("Failed to validate kv.dll. Error code: " + std::to_string(c.exitCode)))
        << c.variant;
    EXPECT_FALSE(box_.Logged("Set the \"GetInstallationLinks\" handle")) << c.variant;
  }
  EXPECT_TRUE(Calls().empty());
}

TEST_F(InstallationLinkCommandTest, MissingLibraryOrExport) {
  const ToolRun run = Run(box_);
  EXPECT_NE(run.exitCode, 0u);
  EXPECT_EQ(run.out, "");

  // A library of the maker's, validly signed, that is not the links library.
  ASSERT_EQ(
      sim::CopyFileTo(kit_.root / "signed" / "timestamped" / "sample.dll", box_.dir() / "kv.dll"),
      0u);
  ClearLog();
  EXPECT_EQ(Run(box_), (ToolRun{ERROR_PROC_NOT_FOUND, ""}));
  EXPECT_TRUE(box_.Logged("Handle not found: Failed with error127"));
}

// Each kind of bad option is the unit test's (ops/installation_links_test.cc); here a wrong count
// and a wrong name give 160.
TEST_F(InstallationLinkCommandTest, BadArgumentsNeverReachTheLibrary) {
  UseLibrary(L"timestamped");
  const std::vector<std::wstring> cases[] = {
      {L"-getinstallationlink", L"-kvUrl", L"u", L"-apiKey", L"k"},
      {L"-getinstallationlink", L"-kvUrl", L"u", L"-apiKey", L"k", L"-package", L"p"},
  };
  for (const auto& args : cases) EXPECT_EQ(box_.Run(args), (ToolRun{160, ""})) << args.size();
  EXPECT_TRUE(Calls().empty());
}

}  // namespace
}  // namespace tarn::e2e
