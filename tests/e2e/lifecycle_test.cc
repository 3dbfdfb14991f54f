// Detect, install and uninstall end to end: the real tool, the simulated agent and its installer
// stand-ins, which record how they were started.
#include <gtest/gtest.h>
#include <windows.h>

#include "base/text.h"
#include "base/win_handles.h"
#include "tests/e2e/simulated_agent.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

using sim::Module;

const std::string kHwid = "0F3A9C2E-5B7D-4E11-8A6C-2D9B4F1E7A30";
const std::string kEndpoint = kHwid + "|C-000451|Workstations";
const std::string kIdentity =
    R"("ar.Product.Configuration.GetKivoroIdentity":{"reply":{"output":{"endpointID":")" + kHwid +
    R"(","companyID":"C-000451"}}})";

std::string Utf8(const std::filesystem::path& path) { return WideToUtf8(path.wstring()); }

class LifecycleTest : public AgentTest {
 protected:
  void SetUp() override {
    AgentTest::SetUp();
    ASSERT_EQ(sim::UseModuleVariant(kit_, Module::kInstaller, L"timestamped"), 0u);
    for (auto file : {sim::BehaviorFile(Module::kInstaller, SetupFolder()),
                      sim::CallRecordFile(Module::kInstaller, SetupFolder())}) {
      DeleteFileW(file.c_str());
    }
  }

  static std::filesystem::path SetupFolder() { return sim::SetupInstallerPath().parent_path(); }

  // A signed stand-in of `module` in `folder` (created), named `name`.
  std::filesystem::path PlaceProgram(Module module, const std::filesystem::path& folder,
                                     const wchar_t* name, const wchar_t* variant = L"timestamped") {
    const std::filesystem::path program = folder / name;
    EXPECT_EQ(sim::CopyModuleVariant(kit_, module, variant, program), 0u);
    return program;
  }
  std::filesystem::path PlaceXml(const std::filesystem::path& folder, const wchar_t* sample,
                                 const wchar_t* name = L"installer.xml") {
    std::filesystem::create_directories(folder);
    const std::filesystem::path xml = folder / name;
    std::filesystem::copy_file(kit_.root / L"installer-xml" / sample, xml,
                               std::filesystem::copy_options::overwrite_existing);
    return xml;
  }

  // How the stand-in in `folder` was started: its command lines, or its working folders.
  static std::vector<std::string> Calls(Module module, const std::filesystem::path& folder,
                                        bool workingFolders = false) {
    std::vector<std::string> lines;
    EXPECT_EQ(workingFolders ? sim::ReadWorkingFolderRecord(module, folder, &lines)
                             : sim::ReadCallRecord(module, folder, &lines),
              0u);
    return lines;
  }
};

TEST_F(LifecycleTest, DetectAnswersTheAgentsState) {
  const auto alerts = [](const std::string& alerts) {
    return R"({"methods":{"Product.GetStatus":{"reply":{"output":{"Alerts":{)" + alerts + "}}}}," +
           kIdentity + "}}";
  };
  const std::string invalidList = R"("Product.InvalidFeatureList":{"severity":"critical"})";
  Expect({
      {"", {L"-DETECT", L"-R"}, {0, "1|" + kEndpoint}},
      {"critical-issues", {L"-detect"}, {0, "2|" + kEndpoint}},
      {"critical-issues", {L"-detect", L"-r"}, {3017, "3|||"}},  // restart pending
      {alerts(invalidList), {L"-detect"}, {0, "4|" + kEndpoint}},
      {alerts(invalidList + R"(,"X":{"severity":"critical"})"),
       {L"-detect"},
       {0, "2|" + kEndpoint}},
      {R"({"default":{"reply":{"error":5}}})", {L"-detect"}, {5, "2|"}},  // no identity
      {"", {L"-detect", L"-reboot"}, {160, ""}},
  });
  // Where the restart is read from is AgentStatusTest's; not asked for, it is DetectTest's.
  Sandbox box;
  DeleteServiceKey();
  EXPECT_EQ(box.Run({L"-detect"}), (ToolRun{2, "0|||"}));
}

TEST_F(LifecycleTest, InstallerStartsWithTheDocumentedCommandLine) {
  Sandbox box;
  const std::filesystem::path folder = box.dir() / L"with blank \u00e9\u20ac";
  const auto installer = PlaceProgram(Module::kInstaller, folder, L"Installer.exe");
  const auto xml = PlaceXml(folder, L"installer.xml");
  const struct {
    const char* exitCode;
    std::vector<std::wstring> args;
    uint32_t expected;
    const char* waitMs = "0";
  } cases[] = {
      {"0", {installer.wstring()}, 0},
      {"3010", {installer.wstring(), L"-installerXml", xml.wstring()}, 3010},
      {"3221225477", {installer.wstring(), L"-INSTALLERXML", xml.wstring()}, 3221225477u},
      // The tool waits for the installer however long it takes.
      {"-1", {installer.wstring()}, 4294967295u, "5000"},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(sim::WriteBehavior(Module::kInstaller, folder,
                                 {{"exit-code", c.exitCode}, {"wait-ms", c.waitMs}}),
              0u);
    std::vector<std::wstring> args{L"-runinstaller"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    // The final detect's answer.
    EXPECT_EQ(box.Run(args), (ToolRun{c.expected, "1|" + kEndpoint})) << c.exitCode;
  }
  const std::string withXml = " configFile=\"" + Utf8(xml) + "\" /arparams /silent";
  EXPECT_EQ(
      Calls(Module::kInstaller, folder),
      (std::vector<std::string>{" /arparams /silent", withXml, withXml, " /arparams /silent"}));
  EXPECT_EQ(Calls(Module::kInstaller, folder, true), std::vector<std::string>(4, Utf8(box.dir())));

  EXPECT_TRUE(box.Logged("TARN install process finished with exit code: 3221225477"));
}

bool Has(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

// That each edit changes exactly its values is the unit test's (ops/installer_xml_test.cc); here
// each flag, in any letter case, makes its own edit and no other.
TEST_F(LifecycleTest, EachFlagMakesItsOwnEditBeforeTheInstallerStarts) {
  Sandbox box;
  const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe");
  const struct {
    std::vector<std::wstring> flags;
    bool resumed, core;
  } cases[] = {
      {{L"-resumeAfterReboot"}, true, false},
      {{L"-coreInstall"}, false, true},
      {{L"-COREINSTALL", L"-resumeafterreboot"}, true, true},
  };
  for (const auto& c : cases) {
    const auto xml = PlaceXml(box.dir(), L"installer.xml");
    std::vector<std::wstring> args{L"-runinstaller", installer.wstring(), L"-installerXml",
                                   xml.wstring()};
    args.insert(args.end(), c.flags.begin(), c.flags.end());
    EXPECT_EQ(box.Run(args).exitCode, 0u);
    const std::string text = box.ReadFile("installer.xml");
    EXPECT_EQ(Has(text, "<forceResumeAfterReboot>1<"), c.resumed) << text;
    EXPECT_EQ(Has(text, "action=\"1\""), !c.core) << text;  // the core install sets every one to 0
  }
  EXPECT_EQ(Calls(Module::kInstaller, box.dir()).size(), 3u);

  // A refused edit (its line and the untouched file are the unit test's): no installer starts.
  const auto refused = PlaceXml(box.dir(), L"feature-without-action.xml");
  EXPECT_EQ(box.Run({L"-runinstaller", installer.wstring(), L"-installerXml", refused.wstring(),
                     L"-coreInstall"}),
            (ToolRun{13, "0|||"}));
  EXPECT_EQ(Calls(Module::kInstaller, box.dir()).size(), 3u);
}

// Every signature outcome is pinned with the agent's library; the installer route passes on the
// check's code and names the maker. A file someone holds open for writing could change between
// its check and its start.
TEST_F(LifecycleTest, InstallerThatIsNotTheMakersOrHeldOpenIsNeverStarted) {
  const struct {
    const wchar_t* variant;
    uint32_t exitCode;
    bool heldOpen = false;
  } cases[] = {{L"unsigned", 0x800B0100}, {L"foreign", 1168}, {L"timestamped", 32, true}};
  Sandbox box;
  for (const auto& c : cases) {
    const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe", c.variant);
    UniqueFileHandle writer(c.heldOpen ? CreateFileW(installer.c_str(), GENERIC_WRITE,
                                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                     OPEN_EXISTING, 0, nullptr)
                                       : INVALID_HANDLE_VALUE);
    EXPECT_EQ(box.Run({L"-runinstaller", installer.wstring()}), (ToolRun{c.exitCode, "0|||"}))
        << c.variant;
  }
  EXPECT_TRUE(box.Logged("Cannot hold the installer against changes. Error code: 32"));
  EXPECT_TRUE(Calls(Module::kInstaller, box.dir()).empty());

  // The setup downloader is checked the same way.
  const auto setup =
      PlaceProgram(Module::kSetupDownloader, box.dir(), L"setupdownloader.exe", L"foreign");
  EXPECT_EQ(box.Run({L"-runsetupdownloader", setup.wstring()}).exitCode, 1168u);
  EXPECT_TRUE(Calls(Module::kSetupDownloader, box.dir()).empty());
}

TEST_F(LifecycleTest, ArgumentFaultsPrintTheirAnswerAndCode) {
  Sandbox box;
  const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe");
  const auto xml = PlaceXml(box.dir(), L"installer.xml");
  const std::string installerRow =
      "Bad arguments. More or insufficient arguments were provided. \"-installerXml\" "
      "<installerXmlPath> [-resumeAfterReboot] [-coreInstall] are required if \"-runInstaller\" "
      "<installerPath> was provided";
  const std::string setupRow =
      "Bad arguments. More or insufficient arguments were provided. \"-installerXml\" "
      "<installerXmlPath> [-resumeAfterReboot] [-coreInstall] are required after "
      "\"-runSetupDownloader\" and <setupDownloaderPath> was provided";
  const std::string notFound = "Installer not found. Error code: 2";
  const std::string attributes = "Invalid file attributes or Installer is a directory";
  const auto twice = [](const std::string& flag) {
    return "Additional argument \"" + flag + "\" specified multiple times.";
  };
  const std::wstring i = installer.wstring(), x = xml.wstring(), dir = box.dir().wstring();
  const std::wstring ix = L"-installerXml", core = L"-coreInstall", resume = L"-resumeAfterReboot";
  const struct {
    std::vector<std::wstring> args;
    uint32_t exitCode;
    std::string line;
  } cases[] = {
      {{L"-runinstaller"}, 160, installerRow},
      {{L"-runsetupdownloader"}, 160, setupRow},
      {{L"-runinstaller", i, ix}, 160, installerRow},
      {{L"-runsetupdownloader", i, L"-xml", x}, 160, setupRow},
      {{L"-runinstaller", i, ix, x, core, core, L"x"}, 160, installerRow},
      {{L"-runinstaller", i, ix, L"C:\\absent.xml"}, 2, notFound},
      {{L"-runinstaller", i, ix, x, L"-quiet"}, 160, "Bad additional argument."},
      {{L"-runinstaller", i, ix, x, core, L"-CoreInstall"}, 160, twice("-coreInstall")},
      {{L"-runsetupdownloader", i, ix, x, resume, resume}, 160, twice("-resumeAfterReboot")},
      {{L"-runinstaller", dir + L"\\absent.exe"}, 4294967295u, attributes},
      {{L"-runinstaller", dir}, FILE_ATTRIBUTE_DIRECTORY, attributes},
      {{L"-runinstaller", i, ix, dir}, 2, notFound},
  };
  for (const auto& c : cases) {
    DeleteFileW((box.dir() / L"log.txt").c_str());
    EXPECT_EQ(box.Run(c.args), (ToolRun{c.exitCode, "0|||"})) << c.line;
    EXPECT_EQ(box.LogMessages().back(), c.line);
  }
  EXPECT_TRUE(Calls(Module::kInstaller, box.dir()).empty());
}

TEST_F(LifecycleTest, SetupDownloaderMovesBesideItsXmlAndStarts) {
  Sandbox box;
  const std::filesystem::path downloads = box.dir() / L"downloads";
  const auto setup = PlaceProgram(Module::kSetupDownloader, downloads, L"TARN-setup-7.9.exe");
  const auto xml = PlaceXml(box.dir() / L"config", L"installer.xml", L"site.xml");
  EXPECT_EQ(box.Run({L"-runsetupdownloader", setup.wstring(), L"-installerXml", xml.wstring(),
                     L"-resumeAfterReboot"}),
            (ToolRun{0, "1|" + kEndpoint}));
  EXPECT_FALSE(std::filesystem::exists(setup));
  EXPECT_FALSE(std::filesystem::exists(xml));
  // Edited before the move.
  EXPECT_TRUE(Has(box.ReadFile("downloads/installer.xml"), "<forceResumeAfterReboot>1<"));
  EXPECT_EQ(Calls(Module::kSetupDownloader, downloads),
            std::vector<std::string>{" /arparams /silent"});
  EXPECT_EQ(Calls(Module::kSetupDownloader, downloads, true),
            std::vector<std::string>{Utf8(box.dir())});

  // Moved under its own name, and when already there, started where it is without an XML.
  EXPECT_EQ(
      box.Run({L"-runsetupdownloader", (downloads / L"setupdownloader.exe").wstring()}).exitCode,
      0u);
  EXPECT_EQ(Calls(Module::kSetupDownloader, downloads).size(), 2u);
}

TEST_F(LifecycleTest, UninstallRunsTheAgentsInstallerThroughTheInterpreter) {
  Sandbox box;
  ASSERT_EQ(sim::WriteBehavior(Module::kInstaller, SetupFolder(), {{"exit-code", "3010"}}), 0u);
  // Read from the legacy configuration file, which this installation does not have: the agent
  // gives the hardware and company ids, the group stays empty.
  const ToolRun answer{3010, "3010|||" + kHwid + "|C-000451|"};
  EXPECT_EQ(box.Run({L"-uninstall"}), answer);
  EXPECT_EQ(box.Run({L"-UNINSTALL", L"p@ss w0rd"}), answer);

  const std::string quoted = "\"" + Utf8(sim::SetupInstallerPath()) + "\"";
  EXPECT_EQ(Calls(Module::kInstaller, SetupFolder()),
            (std::vector<std::string>{quoted + " /remove /silent",
                                      quoted + " /remove /silent passmd5=p@ss w0rd"}));
  EXPECT_TRUE(
      box.Logged("Using the following uninstall command:  cmd /c " + quoted + " /remove /silent"));
  EXPECT_TRUE(box.Logged("An uninstall password was given"));
  EXPECT_TRUE(box.Logged("Uninstall TARN process finished with error code: 3010"));
  // The child runner logs nothing of its own: the password on its command line never shows.
  EXPECT_EQ(box.ReadFile("log.txt").find("p@ss"), std::string::npos);
}

TEST_F(LifecycleTest, UninstallAnswersHowFarItGot) {
  Sandbox box;
  ASSERT_TRUE(DeleteFileW(sim::SetupInstallerPath().c_str()));
  EXPECT_EQ(box.Run({L"-uninstall"}), (ToolRun{2, "2|||" + kHwid + "|C-000451|"}));
  EXPECT_TRUE(box.Logged("Cannot find Installer.exe"));

  EXPECT_EQ(box.Run({L"-uninstall", L"a", L"b"}), (ToolRun{160, ""}));
  EXPECT_EQ(box.LogMessages().back(), "Bad arguments for uninstall");

  DeleteServiceKey();
  EXPECT_EQ(box.Run({L"-uninstall"}), (ToolRun{2, "16010|||"}));
  EXPECT_EQ(box.LogMessages().back(), "File not found. TARN is not present");
}

// With a service stopped the agent is not asked for the endpoint's identity (README): detect
// answers "2|" alone, an install is refused as the agent is there, and an uninstall, which
// identifies the endpoint before it looks for the installer, stops without running it.
TEST_F(LifecycleTest, StoppedServices) {
  ASSERT_EQ(sim::StopAgentService(sim::kAgentServices[1]), 0u);  // the next SetUp restarts it
  Sandbox box;
  EXPECT_EQ(box.Run({L"-detect"}), (ToolRun{30, "2|"}));
  EXPECT_TRUE(box.Logged("Cannot retrieve endpoint information"));
  EXPECT_TRUE(Journal("request").empty());

  const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe");
  EXPECT_EQ(box.Run({L"-runinstaller", installer.wstring()}), (ToolRun{183, "0|||"}));
  EXPECT_EQ(box.LogMessages().back(), "TARN Already exists");
  EXPECT_TRUE(Calls(Module::kInstaller, box.dir()).empty());

  EXPECT_EQ(box.Run({L"-uninstall"}), (ToolRun{30, "30|||"}));
  EXPECT_TRUE(Calls(Module::kInstaller, SetupFolder()).empty());
}

}  // namespace
}  // namespace tarn::e2e
