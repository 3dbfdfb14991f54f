// Detect, install and uninstall end to end: the real tool, the simulated agent and its installer
// stand-ins, which record how they were started.
#include <windows.h>
// clang-format off
#include <tlhelp32.h>
// clang-format on

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <algorithm>

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

bool Contains(const std::vector<std::string>& log, const std::string& line) {
  return std::find(log.begin(), log.end(), line) != log.end();
}

bool AnyStartsWith(const std::vector<std::string>& log, const std::string& prefix) {
  return std::any_of(log.begin(), log.end(),
                     [&](const std::string& line) { return line.rfind(prefix, 0) == 0; });
}

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
  void TearDown() override {
    for (const auto& service : sim::kAgentServices) {
      uint32_t state = 0;
      if (sim::QueryAgentServiceState(service, &state) == 0 && state != SERVICE_RUNNING) {
        EXPECT_EQ(sim::StartAgentService(service), 0u);
      }
    }
    AgentTest::TearDown();
  }

  static std::filesystem::path SetupFolder() { return sim::SetupInstallerPath().parent_path(); }

  void StopSecurityService() { ASSERT_EQ(sim::StopAgentService(sim::kAgentServices[1]), 0u); }

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

  static std::vector<std::string> Calls(Module module, const std::filesystem::path& folder) {
    std::vector<std::string> calls;
    EXPECT_EQ(sim::ReadCallRecord(module, folder, &calls), 0u);
    return calls;
  }
  static std::vector<std::string> Folders(Module module, const std::filesystem::path& folder) {
    std::vector<std::string> folders;
    EXPECT_EQ(sim::ReadWorkingFolderRecord(module, folder, &folders), 0u);
    return folders;
  }
};

TEST_F(LifecycleTest, DetectAnswersTheAgentsState) {
  const struct {
    const char* name;
    std::string scenario;  // empty: healthy
    std::vector<std::wstring> args;
    uint32_t exitCode;
    std::string answer;
  } cases[] = {
      {"healthy", "", {L"-detect"}, 0, "1|" + kEndpoint},
      {"healthy, reboot flag in capitals", "", {L"-DETECT", L"-R"}, 0, "1|" + kEndpoint},
      {"critical issues", "critical-issues", {L"-detect"}, 0, "2|" + kEndpoint},
      {"restart pending", "critical-issues", {L"-detect", L"-r"}, 3017, "3|||"},
      {"invalid feature list",
       R"({"methods":{"Product.GetStatus":{"reply":{"output":{"Alerts":{"Product.InvalidFeatureList":{"severity":"critical"}}}}},)" +
           kIdentity + "}}",
       {L"-detect"},
       0,
       "4|" + kEndpoint},
      {"invalid feature list and another issue",
       R"({"methods":{"Product.GetStatus":{"reply":{"output":{"Alerts":{"Product.InvalidFeatureList":{"severity":"critical"},"X":{"severity":"critical"}}}}},)" +
           kIdentity + "}}",
       {L"-detect"},
       0,
       "2|" + kEndpoint},
      {"identity refused", R"({"default":{"reply":{"error":5}}})", {L"-detect"}, 5, "2|"},
      {"another argument", "", {L"-detect", L"-reboot"}, 160, ""},
  };
  Sandbox box;
  for (const auto& c : cases) {
    if (c.scenario.empty() || c.scenario[0] != '{') {
      ASSERT_EQ(sim::SelectScenario(kit_, c.scenario.empty() ? L"healthy" : L"critical-issues"),
                0u);
    } else {
      UseScenario(c.scenario);
    }
    const ToolRun run = box.Run(c.args);
    EXPECT_EQ(run.exitCode, c.exitCode) << c.name;
    EXPECT_EQ(run.out, c.answer) << c.name;
  }

  ASSERT_EQ(sim::SelectScenario(kit_, L"healthy"), 0u);
  ASSERT_EQ(sim::SetRebootMarker(sim::RegistryView::k64Bit), 0u);
  EXPECT_EQ(box.Run({L"-detect", L"-r"}).out, "3|||");
  EXPECT_EQ(box.Run({L"-detect"}).out, "1|" + kEndpoint);  // asked without the flag

  ASSERT_EQ(sim::DeleteSecurityServiceKey(), 0u);
  keyDeleted_ = true;
  const ToolRun absent = box.Run({L"-detect"});
  EXPECT_EQ(absent.exitCode, 2u);
  EXPECT_EQ(absent.out, "0|||");
}

TEST_F(LifecycleTest, InstallerStartsWithTheDocumentedCommandLine) {
  Sandbox box;
  box.EnableLogging();
  const std::filesystem::path folder = box.dir() / L"with blank";
  const auto installer = PlaceProgram(Module::kInstaller, folder, L"Installer.exe");
  const auto xml = PlaceXml(folder, L"installer.xml");
  const struct {
    const char* exitCode;
    std::vector<std::wstring> args;
    uint32_t expected;
  } cases[] = {
      {"0", {installer.wstring()}, 0},
      {"3010", {installer.wstring(), L"-installerXml", xml.wstring()}, 3010},
      {"3221225477", {installer.wstring(), L"-INSTALLERXML", xml.wstring()}, 3221225477u},
      {"-1", {installer.wstring()}, 4294967295u},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(sim::WriteBehavior(Module::kInstaller, folder, {{"exit-code", c.exitCode}}), 0u);
    std::vector<std::wstring> args{L"-runinstaller"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    const ToolRun run = box.Run(args);
    EXPECT_EQ(run.exitCode, c.expected) << c.exitCode;
    EXPECT_EQ(run.out, "1|" + kEndpoint) << c.exitCode;  // the final detect's answer
  }
  const std::string withXml = " configFile=\"" + Utf8(xml) + "\" /arparams /silent";
  EXPECT_EQ(
      Calls(Module::kInstaller, folder),
      (std::vector<std::string>{" /arparams /silent", withXml, withXml, " /arparams /silent"}));
  EXPECT_EQ(Folders(Module::kInstaller, folder), std::vector<std::string>(4, Utf8(box.dir())));

  const auto log = box.LogMessages();
  EXPECT_TRUE(Contains(log, "Running TARN install process"));
  EXPECT_TRUE(Contains(log, "TARN install process finished with exit code: 3221225477"));
  EXPECT_TRUE(Contains(log, "Starting final TARN Detect"));
  // The runner's own lines never reach the log.
  EXPECT_FALSE(AnyStartsWith(log, "Starting process from"));
  EXPECT_FALSE(AnyStartsWith(log, "Process finished"));
  EXPECT_FALSE(AnyStartsWith(log, "Retrieve process exit code"));
}

// Flattens a document: one line per element, its path, attributes and text.
void Flatten(const tinyxml2::XMLElement* element, const std::string& parent,
             std::vector<std::string>& out) {
  for (; element != nullptr; element = element->NextSiblingElement()) {
    std::string line = parent + "/" + element->Name();
    for (auto* a = element->FirstAttribute(); a != nullptr; a = a->Next()) {
      line += std::string(" ") + a->Name() + "=" + a->Value();
    }
    out.push_back(line + " = " + (element->GetText() ? element->GetText() : ""));
    Flatten(element->FirstChildElement(), parent + "/" + element->Name(), out);
  }
}

std::vector<std::string> Tree(const std::filesystem::path& file) {
  tinyxml2::XMLDocument document;
  FILE* in = _wfopen(file.c_str(), L"rb");
  EXPECT_NE(in, nullptr);
  if (in == nullptr) return {};
  EXPECT_EQ(document.LoadFile(in), tinyxml2::XML_SUCCESS);
  fclose(in);
  std::vector<std::string> lines;
  Flatten(document.FirstChildElement(), "", lines);
  return lines;
}

TEST_F(LifecycleTest, XmlReadBackHoldsExactlyTheEditedValues) {
  Sandbox box;
  const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe");
  const auto original = Tree(kit_.root / L"installer-xml" / L"installer.xml");
  ASSERT_EQ(original[5], "/config/forceResumeAfterReboot = 0");

  auto resumed = original;
  resumed[5] = "/config/forceResumeAfterReboot = 1";
  auto core = original;
  for (auto& line : core) {
    const size_t action = line.find(" action=");
    if (line.rfind("/config/features/feature ", 0) == 0 && action != std::string::npos) {
      line[action + 8] = '0';
    }
  }
  auto both = core;
  both[5] = resumed[5];
  const struct {
    std::vector<std::wstring> flags;
    std::vector<std::string> tree;
  } cases[] = {
      {{L"-resumeAfterReboot"}, resumed},
      {{L"-coreInstall"}, core},
      {{L"-COREINSTALL", L"-resumeafterreboot"}, both},
  };
  for (const auto& c : cases) {
    const auto xml = PlaceXml(box.dir(), L"installer.xml");
    std::vector<std::wstring> args{L"-runinstaller", installer.wstring(), L"-installerXml",
                                   xml.wstring()};
    args.insert(args.end(), c.flags.begin(), c.flags.end());
    EXPECT_EQ(box.Run(args).exitCode, 0u);
    EXPECT_EQ(Tree(xml), c.tree);
  }
  EXPECT_EQ(Calls(Module::kInstaller, box.dir()).size(), 3u);

  // A refused edit: the command fails before the installer and the file stays as it was.
  box.EnableLogging();
  const auto refused = PlaceXml(box.dir(), L"feature-without-action.xml");
  const ToolRun run = box.Run({L"-runinstaller", installer.wstring(), L"-installerXml",
                               refused.wstring(), L"-coreInstall"});
  EXPECT_EQ(run.exitCode, 13u);
  EXPECT_EQ(run.out, "0|||");
  EXPECT_EQ(Tree(refused), Tree(kit_.root / L"installer-xml" / L"feature-without-action.xml"));
  EXPECT_TRUE(Contains(box.LogMessages(),
                       "Cannot find \"action\" attribute for one or more features nodes"));
  EXPECT_EQ(Calls(Module::kInstaller, box.dir()).size(), 3u);
}

TEST_F(LifecycleTest, InstallerThatIsNotTheMakersIsNeverStarted) {
  const struct {
    const wchar_t* variant;
    uint32_t exitCode;
  } cases[] = {
      {L"unsigned", 0x800B0100}, {L"tampered", 0x80096010}, {L"foreign", 1168},
      {L"capitals", 1168},       {L"untimestamped", 5007},  {L"untrusted", 0x800B0109},
  };
  Sandbox box;
  for (const auto& c : cases) {
    const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe", c.variant);
    const ToolRun run = box.Run({L"-runinstaller", installer.wstring()});
    EXPECT_EQ(run.exitCode, c.exitCode) << c.variant;
    EXPECT_EQ(run.out, "0|||") << c.variant;
  }
  EXPECT_TRUE(Calls(Module::kInstaller, box.dir()).empty());

  // The setup downloader is checked the same way.
  const auto setup =
      PlaceProgram(Module::kSetupDownloader, box.dir(), L"setupdownloader.exe", L"foreign");
  EXPECT_EQ(box.Run({L"-runsetupdownloader", setup.wstring()}).exitCode, 1168u);
  EXPECT_TRUE(Calls(Module::kSetupDownloader, box.dir()).empty());
}

TEST_F(LifecycleTest, InstallerOpenForWritingIsRefused) {
  Sandbox box;
  box.EnableLogging();
  const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe");
  {
    // Someone is writing the file: what was checked might not be what starts.
    UniqueFileHandle writer(CreateFileW(installer.c_str(), GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                        0, nullptr));
    ASSERT_TRUE(writer.valid());
    const ToolRun run = box.Run({L"-runinstaller", installer.wstring()});
    EXPECT_EQ(run.exitCode, 32u);
    EXPECT_EQ(run.out, "0|||");
  }
  EXPECT_TRUE(
      Contains(box.LogMessages(), "Cannot hold the installer against changes. Error code: 32"));
  EXPECT_TRUE(Calls(Module::kInstaller, box.dir()).empty());
}

TEST_F(LifecycleTest, ArgumentFaultsPrintTheirAnswerAndCode) {
  Sandbox box;
  box.EnableLogging();
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
  const std::wstring i = installer.wstring(), x = xml.wstring();
  const struct {
    std::vector<std::wstring> args;
    uint32_t exitCode;
    std::string line;
  } cases[] = {
      {{L"-runinstaller"}, 160, installerRow},
      {{L"-runsetupdownloader"}, 160, setupRow},
      {{L"-runinstaller", i, L"-installerXml"}, 160, installerRow},
      {{L"-runsetupdownloader", i, L"-xml", x}, 160, setupRow},
      {{L"-runinstaller", i, L"-installerXml", x, L"-coreInstall", L"-coreInstall", L"x"},
       160,
       installerRow},
      {{L"-runinstaller", i, L"-installerXml", L"C:\\absent.xml"},
       2,
       "Installer not found. Error code: 2"},
      {{L"-runinstaller", i, L"-installerXml", x, L"-quiet"}, 160, "Bad additional argument."},
      {{L"-runinstaller", i, L"-installerXml", x, L"-coreInstall", L"-CoreInstall"},
       160,
       "Additional argument \"-coreInstall\" specified multiple times."},
      {{L"-runsetupdownloader", i, L"-installerXml", x, L"-resumeAfterReboot",
        L"-resumeAfterReboot"},
       160,
       "Additional argument \"-resumeAfterReboot\" specified multiple times."},
      {{L"-runinstaller", (box.dir() / L"absent.exe").wstring()},
       4294967295u,
       "Invalid file attributes or Installer is a directory"},
      {{L"-runinstaller", box.dir().wstring()},
       FILE_ATTRIBUTE_DIRECTORY,
       "Invalid file attributes or Installer is a directory"},
      {{L"-runinstaller", i, L"-installerXml", box.dir().wstring()},
       2,
       "Installer not found. Error code: 2"},
  };
  for (const auto& c : cases) {
    DeleteFileW((box.dir() / L"log.txt").c_str());
    const ToolRun run = box.Run(c.args);
    EXPECT_EQ(run.exitCode, c.exitCode) << c.line;
    EXPECT_EQ(run.out, "0|||") << c.line;
    EXPECT_EQ(box.LogMessages().back(), c.line);
  }
  EXPECT_TRUE(Calls(Module::kInstaller, box.dir()).empty());
}

TEST_F(LifecycleTest, SetupDownloaderMovesBesideItsXmlAndStarts) {
  Sandbox box;
  const std::filesystem::path downloads = box.dir() / L"downloads";
  const auto setup = PlaceProgram(Module::kSetupDownloader, downloads, L"TARN-setup-7.9.exe");
  const auto xml = PlaceXml(box.dir() / L"config", L"installer.xml", L"site.xml");
  const ToolRun run = box.Run({L"-runsetupdownloader", setup.wstring(), L"-installerXml",
                               xml.wstring(), L"-resumeAfterReboot"});
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, "1|" + kEndpoint);
  EXPECT_FALSE(std::filesystem::exists(setup));
  EXPECT_FALSE(std::filesystem::exists(xml));
  EXPECT_TRUE(std::filesystem::exists(downloads / L"setupdownloader.exe"));
  const auto moved = Tree(downloads / L"installer.xml");
  ASSERT_GT(moved.size(), 5u);
  EXPECT_EQ(moved[5], "/config/forceResumeAfterReboot = 1");  // edited before the move
  EXPECT_EQ(Calls(Module::kSetupDownloader, downloads),
            std::vector<std::string>{" /arparams /silent"});
  EXPECT_EQ(Folders(Module::kSetupDownloader, downloads),
            std::vector<std::string>{Utf8(box.dir())});

  // Already in place under its name: started where it is, without an XML.
  EXPECT_EQ(
      box.Run({L"-runsetupdownloader", (downloads / L"setupdownloader.exe").wstring()}).exitCode,
      0u);
  EXPECT_EQ(Calls(Module::kSetupDownloader, downloads).size(), 2u);
}

// The child started by the tool, found by its parent.
UniqueKernelHandle ChildOf(uint32_t parent, const wchar_t* name) {
  UniqueFileHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = Process32FirstW(snapshot.get(), &entry); more;
       more = Process32NextW(snapshot.get(), &entry)) {
    if (entry.th32ParentProcessID == parent && _wcsicmp(entry.szExeFile, name) == 0) {
      return UniqueKernelHandle(OpenProcess(PROCESS_TERMINATE, FALSE, entry.th32ProcessID));
    }
  }
  return UniqueKernelHandle();
}

TEST_F(LifecycleTest, ToolWaitsForTheInstallerWithoutALimit) {
  Sandbox box;
  const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe");
  ASSERT_EQ(sim::WriteBehavior(Module::kInstaller, box.dir(), {{"wait-ms", "never"}}), 0u);
  auto tool = box.Start({L"-runinstaller", installer.wstring()});
  ASSERT_NE(tool, nullptr);
  UniqueKernelHandle child;
  for (int attempt = 0; attempt < 100 && !child; ++attempt) {
    Sleep(100);
    child = ChildOf(tool->processId(), L"Installer.exe");
  }
  ASSERT_TRUE(child.valid()) << "the installer was not started";
  EXPECT_TRUE(tool->StillRunningAfter(3000));
  ASSERT_TRUE(TerminateProcess(child.get(), 2000000001u));
  const ToolRun run = tool->Wait();
  EXPECT_EQ(run.exitCode, 2000000001u);
  EXPECT_EQ(run.out, "1|" + kEndpoint);
}

TEST_F(LifecycleTest, UninstallRunsTheAgentsInstallerThroughTheInterpreter) {
  Sandbox box;
  box.EnableLogging();
  ASSERT_EQ(sim::WriteBehavior(Module::kInstaller, SetupFolder(), {{"exit-code", "3010"}}), 0u);
  // Read from the legacy configuration file, which this installation does not have: the agent
  // gives the hardware and company ids, the group stays empty.
  const std::string answer = "3010|||" + kHwid + "|C-000451|";
  ToolRun run = box.Run({L"-uninstall"});
  EXPECT_EQ(run.exitCode, 3010u);
  EXPECT_EQ(run.out, answer);
  run = box.Run({L"-UNINSTALL", L"p@ss w0rd"});
  EXPECT_EQ(run.exitCode, 3010u);
  EXPECT_EQ(run.out, answer);

  const std::string quoted = "\"" + Utf8(sim::SetupInstallerPath()) + "\"";
  EXPECT_EQ(Calls(Module::kInstaller, SetupFolder()),
            (std::vector<std::string>{quoted + " /remove /silent",
                                      quoted + " /remove /silent passmd5=p@ss w0rd"}));
  const auto log = box.LogMessages();
  EXPECT_TRUE(Contains(
      log, "Using the following uninstall command:  cmd /c " + quoted + " /remove /silent"));
  EXPECT_TRUE(Contains(log, "An uninstall password was given"));
  EXPECT_TRUE(Contains(log, "Uninstall TARN process finished with error code: 3010"));
  EXPECT_FALSE(AnyStartsWith(log, "Starting process from"));  // nor the password, with it
}

TEST_F(LifecycleTest, UninstallAnswersHowFarItGot) {
  Sandbox box;
  box.EnableLogging();
  ASSERT_TRUE(DeleteFileW(sim::SetupInstallerPath().c_str()));
  ToolRun run = box.Run({L"-uninstall"});
  EXPECT_EQ(run.exitCode, 2u);
  EXPECT_EQ(run.out, "2|||" + kHwid + "|C-000451|");
  EXPECT_TRUE(Contains(box.LogMessages(), "Cannot find Installer.exe"));

  run = box.Run({L"-uninstall", L"a", L"b"});
  EXPECT_EQ(run.exitCode, 160u);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(box.LogMessages().back(), "Bad arguments for uninstall");

  ASSERT_EQ(sim::DeleteSecurityServiceKey(), 0u);
  keyDeleted_ = true;
  run = box.Run({L"-uninstall"});
  EXPECT_EQ(run.exitCode, 2u);
  EXPECT_EQ(run.out, "16010|||");
  EXPECT_EQ(box.LogMessages().back(), "File not found. TARN is not present");
}

// With a service stopped the agent is not asked for the endpoint's identity (README): detect
// answers "2|" alone, an install is refused as the agent is there, and an uninstall, which
// identifies the endpoint before it looks for the installer, stops without running it.
TEST_F(LifecycleTest, StoppedServices) {
  StopSecurityService();
  Sandbox box;
  box.EnableLogging();
  ToolRun run = box.Run({L"-detect"});
  EXPECT_EQ(run.exitCode, 30u);
  EXPECT_EQ(run.out, "2|");
  auto log = box.LogMessages();
  EXPECT_EQ(std::vector<std::string>(log.end() - 3, log.end()),
            (std::vector<std::string>{"Cannot retrieve endpoint information",
                                      "TARN Detect finished", "Error code: 30"}));
  EXPECT_TRUE(Journal("request").empty());

  const auto installer = PlaceProgram(Module::kInstaller, box.dir(), L"Installer.exe");
  run = box.Run({L"-runinstaller", installer.wstring()});
  EXPECT_EQ(run.exitCode, 183u);
  EXPECT_EQ(run.out, "0|||");
  EXPECT_EQ(box.LogMessages().back(), "TARN Already exists");
  EXPECT_TRUE(Calls(Module::kInstaller, box.dir()).empty());

  run = box.Run({L"-uninstall"});
  EXPECT_EQ(run.exitCode, 30u);
  EXPECT_EQ(run.out, "30|||");
  EXPECT_TRUE(Calls(Module::kInstaller, SetupFolder()).empty());
}

}  // namespace
}  // namespace tarn::e2e
