// "-getinstallationlink" end to end: the real tool beside a signed variant of the simulated
// kv.dll, which records the arguments it receives.
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <windows.h>

#include <algorithm>

#include "base/win_handles.h"
#include "sim/agent/sim_control.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

using sim::Module;

class InstallationLinkCommandTest : public ::testing::Test {
 protected:
  void SetUp() override { box_.EnableLogging(); }

  void UseLibrary(const wchar_t* variant) {
    ASSERT_EQ(sim::CopyModuleVariant(kit_, Module::kKv, variant, box_.dir() / "kv.dll"), 0u);
  }
  std::vector<std::string> Calls() {
    std::vector<std::string> calls;
    EXPECT_EQ(sim::ReadCallRecord(Module::kKv, box_.dir(), &calls), 0u);
    return calls;
  }
  bool Logged(const std::string& message) {
    const auto log = box_.LogMessages();
    return std::find(log.begin(), log.end(), message) != log.end();
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
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, url + "/download/" + package + "?apiKey=" + key + "&legacy=0");

  const auto calls = Calls();
  ASSERT_EQ(calls.size(), 1u);
  rapidjson::Document call;
  call.Parse(calls[0].c_str());
  ASSERT_TRUE(call.IsObject()) << calls[0];
  EXPECT_EQ(call["kvUrl"].GetString(), url);
  EXPECT_EQ(call["apiKey"].GetString(), key);
  EXPECT_EQ(call["packageName"].GetString(), package);
  EXPECT_EQ(call["legacy"].GetInt(), 0);  // the prefix is Windows 7
  EXPECT_EQ(call["output"].GetString(), std::string());
  EXPECT_TRUE(Logged("kv.dll file path: " + box_.dir().string() + "\\kv.dll"));
  EXPECT_TRUE(Logged("Return if Windows is 7 or greater"));
  EXPECT_TRUE(Logged("Method finished with exit code: 0"));
  EXPECT_TRUE(Logged("Links retrieved successfully"));
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
      {"result=1460\nlinks=partial\n", 1460, ""},
      {"result=2147500037\nlinks=partial\n", 2147500037u, ""},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(sim::WriteFileBytes(sim::BehaviorFile(Module::kKv, box_.dir()), c.behavior), 0u);
    ClearLog();
    const ToolRun run = Run(box_);
    EXPECT_EQ(run.exitCode, c.exitCode) << c.behavior;
    EXPECT_EQ(run.out, c.out) << c.behavior;
    EXPECT_TRUE(Logged("Method finished with exit code: " + std::to_string(c.exitCode)));
  }
}

TEST_F(InstallationLinkCommandTest, UnverifiedLibrariesAreNeverLoaded) {
  const struct {
    const wchar_t* variant;
    uint32_t exitCode;
  } cases[] = {
      {L"unsigned", 0x800B0100},   // TRUST_E_NOSIGNATURE
      {L"tampered", 0x80096010},   // TRUST_E_BAD_DIGEST
      {L"untrusted", 0x800B0109},  // CERT_E_UNTRUSTEDROOT
      {L"untimestamped", 5007},    // no counter-signer at all
      {L"foreign", 1168},          // another signer's name
      {L"capitals", 1168},         // the signer's name in other letter case
  };
  for (const auto& c : cases) {
    UseLibrary(c.variant);
    ClearLog();
    const ToolRun run = Run(box_);
    EXPECT_EQ(run.exitCode, c.exitCode) << c.variant;
    EXPECT_EQ(run.out, "") << c.variant;
    EXPECT_TRUE(Logged("Failed to validate kv.dll. Error code: " + std::to_string(c.exitCode)))
        << c.variant;
    EXPECT_FALSE(Logged("Set the \"GetInstallationLinks\" handle")) << c.variant;
  }
  EXPECT_TRUE(Calls().empty());
}

TEST_F(InstallationLinkCommandTest, LibraryHeldOpenForWritingIsRefused) {
  UseLibrary(L"timestamped");
  const UniqueFileHandle writer(CreateFileW((box_.dir() / "kv.dll").c_str(), GENERIC_WRITE,
                                            FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(writer);
  const ToolRun run = Run(box_);
  EXPECT_EQ(run.exitCode, static_cast<uint32_t>(ERROR_SHARING_VIOLATION));
  EXPECT_EQ(run.out, "");
  EXPECT_TRUE(Logged("Failed to validate kv.dll. Error code: 32"));
  EXPECT_TRUE(Calls().empty());
}

TEST_F(InstallationLinkCommandTest, MissingLibraryOrExport) {
  ToolRun run = Run(box_);
  EXPECT_NE(run.exitCode, 0u);
  EXPECT_EQ(run.out, "");

  // A library of the maker's, validly signed, that is not the links library.
  ASSERT_EQ(
      sim::CopyFileTo(kit_.root / "signed" / "timestamped" / "sample.dll", box_.dir() / "kv.dll"),
      0u);
  ClearLog();
  run = Run(box_);
  EXPECT_EQ(run.exitCode, static_cast<uint32_t>(ERROR_PROC_NOT_FOUND));
  EXPECT_EQ(run.out, "");
  EXPECT_TRUE(Logged("Handle not found: Failed with error127"));
}

TEST_F(InstallationLinkCommandTest, BadArgumentsNeverReachTheLibrary) {
  UseLibrary(L"timestamped");
  const std::vector<std::wstring> cases[] = {
      {L"-getinstallationlink", L"-kvUrl", L"u", L"-apiKey", L"k"},
      {L"-getinstallationlink", L"-kvUrl", L"u", L"-apiKey", L"k", L"-packageName", L"p", L"x"},
      {L"-getinstallationlink", L"-kvUrl", L"u", L"-apiKey", L"k", L"-package", L"p"},
      {L"-getinstallationlink", L"-kvUrl", L"u", L"-kvUrl", L"v", L"-apiKey", L"k"},
  };
  for (const auto& args : cases) {
    const ToolRun run = box_.Run(args);
    EXPECT_EQ(run.exitCode, 160u) << args.size();
    EXPECT_EQ(run.out, "");
  }
  EXPECT_TRUE(Calls().empty());
}

}  // namespace
}  // namespace tarn::e2e
