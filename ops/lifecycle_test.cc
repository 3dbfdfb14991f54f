// Detect, install and uninstall against a fake machine: the decisions, the answers, the command
// lines, and what is never started.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "base/result_codes.h"
#include "base/test_log_capture.h"
#include "ops/detect.h"
#include "ops/install.h"
#include "ops/uninstall.h"

namespace tarn {
namespace {

constexpr wchar_t kAgent[] = L"C:\\Program Files\\Arvantis\\TARN";
constexpr wchar_t kSetup[] = L"C:\\Program Files\\Arvantis\\TARN\\EndpointSetupInformation";

struct FakeMachine {
  uint32_t imagePathCode = 0;
  bool servicesRunning = true;
  uint32_t rebootCode = 0, rebootRequired = 0;
  uint32_t issuesCode = 0;
  std::string issues;
  std::vector<uint32_t> identityCodes;  // per ask of the agent; 0 once they run out
  std::map<std::wstring, uint32_t> attributes;
  uint32_t listCode = 0;
  std::vector<FolderEntry> setupEntries{{L".", true}, {L"..", true}, {L"{GUID}", true}};
  uint32_t moveCode = 0, holdCode = 0, signatureCode = 0;
  bool signatureValid = true;
  uint32_t exitCode = 0;
  uint32_t sessionCode = 0;
  int64_t agentError = 0;

  // What happened.
  std::vector<std::wstring> configPathsRead, checked, sdkMethods;
  std::vector<std::pair<std::wstring, std::wstring>> moves, runs;
  bool held = false, heldWhileChecked = false, heldWhileRun = false;

  FakeMachine() {
    attributes[std::wstring(kSetup) + L"\\{GUID}\\Installer.exe"] = 0x20;
    attributes[L"C:\\dl\\Installer.exe"] = 0x20;
    attributes[L"C:\\dl\\installer.xml"] = 0x20;
  }

  LifecycleSystem System() {
    LifecycleSystem s;
    s.getServiceImagePath = [this](const std::wstring&, std::wstring& path, Logger*) {
      if (imagePathCode == 0) path = std::wstring(kAgent) + L"\\oxsecsvc.exe -service";
      return imagePathCode;
    };
    s.waitForAgentServices = [this](Logger*) { return servicesRunning; };
    s.isRebootRequired = [this](uint32_t& required, Logger*) {
      required = rebootRequired;
      return rebootCode;
    };
    s.getCriticalIssues = [this](std::string& payload, Logger*) {
      if (issuesCode == 0) payload = issues;
      return issuesCode;
    };
    s.getEndpointInformation = [this](std::string* hw, std::string* group, std::string* company,
                                      const std::wstring& path, bool ask, Logger*) {
      configPathsRead.push_back(path);
      *group = "Workstations";
      if (!ask) return kResultAgentNotAsked;
      uint32_t code = 0;
      if (!identityCodes.empty()) {
        code = identityCodes.front();
        identityCodes.erase(identityCodes.begin());
      }
      if (code == 0) *hw = "HW", *company = "C-1";
      return code;
    };
    s.executeSdkMethod = [this](rapidjson::Document&, int32_t&, int64_t& agent,
                                const std::wstring& method, const std::wstring& request,
                                const std::wstring& command, Logger*) {
      sdkMethods.push_back(method + L"|" + request + L"|" + command);
      agent = agentError;
      return sessionCode;
    };
    s.fileAttributes = [this](const std::wstring& path) {
      const auto found = attributes.find(path);
      return found == attributes.end() ? kInvalidFileAttributes : found->second;
    };
    s.listFolder = [this](const std::wstring& pattern, std::vector<FolderEntry>& entries) {
      EXPECT_EQ(pattern, std::wstring(kSetup) + L"\\*");
      if (listCode == 0) entries = setupEntries;
      return listCode;
    };
    s.windowsDirectory = [] { return std::wstring(L"C:\\windows"); };
    s.moveFile = [this](const std::wstring& from, const std::wstring& to) {
      moves.emplace_back(from, to);
      return moveCode;
    };
    s.holdFileForUse = [this](const std::wstring&, FileHold& hold) {
      if (holdCode != 0) return holdCode;
      held = true;
      hold =
          FileHold(this, [](void* machine) { static_cast<FakeMachine*>(machine)->held = false; });
      return 0u;
    };
    s.validateModuleSignature = [this](bool& isValid, const std::wstring& path,
                                       const std::wstring& subject, Logger*) {
      EXPECT_EQ(subject, L"Arvantis SRL");
      checked.push_back(path);
      heldWhileChecked = held;
      isValid = signatureCode == 0 && signatureValid;
      return signatureCode;
    };
    s.runProcess = [this](const std::wstring& application, const std::wstring& commandLine) {
      runs.emplace_back(application, commandLine);
      heldWhileRun = held;
      return exitCode;
    };
    return s;
  }
};

TEST(DetectTest, AnswersByTheAgentsState) {
  const struct {
    const char* name;
    void (*arrange)(FakeMachine&);
    bool rebootFlag;
    uint32_t code;
    std::string answer;
  } cases[] = {
      {"healthy", [](FakeMachine&) {}, false, 0, "1|HW|C-1|Workstations"},
      {"not installed", [](FakeMachine& m) { m.imagePathCode = 2; }, false, 2, "0|||"},
      {"key unreadable", [](FakeMachine& m) { m.imagePathCode = 5; }, true, 5, "0|||"},
      {"restart pending", [](FakeMachine& m) { m.rebootRequired = 1; }, true, 3017, "3|||"},
      {"restart pending, not asked", [](FakeMachine& m) { m.rebootRequired = 1; }, false, 0,
       "1|HW|C-1|Workstations"},
      {"reboot probe failed",
       [](FakeMachine& m) {
         m.rebootCode = 13;
         m.rebootRequired = 1;
       },
       true, 0, "1|HW|C-1|Workstations"},
      {"critical issue", [](FakeMachine& m) { m.issues = "LicenseExpired"; }, false, 0,
       "2|HW|C-1|Workstations"},
      {"invalid feature list", [](FakeMachine& m) { m.issues = "Product.InvalidFeatureList"; },
       false, 0, "4|HW|C-1|Workstations"},
      {"invalid feature list in other case",
       [](FakeMachine& m) { m.issues = "Product.invalidFeatureList"; }, false, 0,
       "2|HW|C-1|Workstations"},
      {"invalid feature list and more",
       [](FakeMachine& m) { m.issues = "Product.InvalidFeatureList|LicenseExpired"; }, false, 0,
       "2|HW|C-1|Workstations"},
      {"issues unknown", [](FakeMachine& m) { m.issuesCode = 1460; }, false, 0,
       "2|HW|C-1|Workstations"},
      {"services stopped: the agent is not asked",
       [](FakeMachine& m) { m.servicesRunning = false; }, false, 30, "2|"},
      {"identity refused twice",
       [](FakeMachine& m) {
         m.identityCodes = {775, 775};
       },
       false, 775, "2|"},
      {"identity on the second ask", [](FakeMachine& m) { m.identityCodes = {1460}; }, false, 0,
       "1|HW|C-1|Workstations"},
  };
  for (const auto& c : cases) {
    FakeMachine machine;
    c.arrange(machine);
    std::string answer;
    EXPECT_EQ(Detect(machine.System(), c.rebootFlag, answer, nullptr), c.code) << c.name;
    EXPECT_EQ(answer, c.answer) << c.name;
  }
}

TEST(DetectTest, ReadsTheCurrentLayoutThenTheLegacyOne) {
  FakeMachine machine;
  machine.identityCodes = {1460, 1460};
  std::string answer;
  const auto log =
      LogOf([&](Logger* log) { EXPECT_EQ(Detect(machine.System(), false, answer, log), 1460u); });
  EXPECT_EQ(machine.configPathsRead,
            (std::vector<std::wstring>{std::wstring(kAgent) + L"\\oxagng\\oxagng.jso",
                                       std::wstring(kAgent) + L"\\oxag\\oxag.jso"}));
  EXPECT_EQ(std::vector<std::string>(log.end() - 3, log.end()),
            (std::vector<std::string>{"Cannot retrieve endpoint information",
                                      "TARN Detect finished", "Error code: 1460"}));
}

class InstallTest : public ::testing::Test {
 protected:
  uint32_t Run(const std::wstring& installer, const std::wstring& xml = L"") {
    answer_ = "0|||";
    return RunInstaller(machine_.System(), installer, xml, answer_, nullptr);
  }
  FakeMachine machine_;
  std::string answer_;
};

TEST_F(InstallTest, RunsTheCheckedInstallerWithTheDocumentedCommandLine) {
  machine_.exitCode = 3221225477u;
  EXPECT_EQ(Run(L"C:\\dl\\Installer.exe", L"C:\\dl\\installer.xml"), 3221225477u);
  EXPECT_EQ(Run(L"C:\\dl\\Installer.exe"), 3221225477u);
  using Run = std::pair<std::wstring, std::wstring>;
  EXPECT_EQ(machine_.runs,
            (std::vector<Run>{{L"C:\\dl\\Installer.exe",
                               L" configFile=\"C:\\dl\\installer.xml\" /arparams /silent"},
                              {L"C:\\dl\\Installer.exe", L" /arparams /silent"}}));
  EXPECT_EQ(machine_.checked, std::vector<std::wstring>(2, L"C:\\dl\\Installer.exe"));
  EXPECT_TRUE(machine_.heldWhileChecked);
  EXPECT_TRUE(machine_.heldWhileRun);
  EXPECT_FALSE(machine_.held);
  EXPECT_EQ(answer_, "1|HW|C-1|Workstations");  // the final detect's
}

TEST_F(InstallTest, NeverStartsAnInstallerThatIsRefused) {
  const struct {
    const char* name;
    void (*arrange)(FakeMachine&);
    std::wstring xml;
    uint32_t code;
  } cases[] = {
      {"detect fails and finds the agent", [](FakeMachine& m) { m.servicesRunning = false; }, L"",
       kResultAlreadyInstalled},
      {"installer missing", [](FakeMachine& m) { m.attributes.erase(L"C:\\dl\\Installer.exe"); },
       L"", kInvalidFileAttributes},
      {"installer is a folder",
       [](FakeMachine& m) { m.attributes[L"C:\\dl\\Installer.exe"] = 0x10; }, L"", 0x10},
      {"XML missing", [](FakeMachine&) {}, L"C:\\dl\\absent.xml", kInvalidFileAttributes},
      {"someone writes the installer", [](FakeMachine& m) { m.holdCode = 32; }, L"", 32},
      {"someone locks the installer", [](FakeMachine& m) { m.holdCode = 33; }, L"", 33},
      {"unsigned", [](FakeMachine& m) { m.signatureCode = 0x800B0100; }, L"", 0x800B0100},
      {"not valid without a code", [](FakeMachine& m) { m.signatureValid = false; }, L"",
       kErrorNotValidlySigned},
  };
  for (const auto& c : cases) {
    machine_ = FakeMachine();
    c.arrange(machine_);
    EXPECT_EQ(Run(L"C:\\dl\\Installer.exe", c.xml), c.code) << c.name;
    EXPECT_TRUE(machine_.runs.empty()) << c.name;
    EXPECT_EQ(answer_, "0|||") << c.name;
  }
}

TEST_F(InstallTest, GoesOnWhenDetectSucceedsOrFindsNoAgent) {
  machine_.imagePathCode = 2;  // no agent: detect fails with "0|||"
  EXPECT_EQ(Run(L"C:\\dl\\Installer.exe"), 0u);
  machine_.imagePathCode = 0;  // a healthy agent: detect succeeds
  machine_.holdCode = 2;       // a hold that fails otherwise leaves the answer to the check
  EXPECT_EQ(Run(L"C:\\dl\\Installer.exe"), 0u);
  EXPECT_EQ(machine_.runs.size(), 2u);
  EXPECT_FALSE(machine_.heldWhileRun);
}

InstallRequest Request(const std::wstring& program, const std::wstring& xml = L"",
                       bool resume = false, bool core = false) {
  InstallRequest request;
  request.programPath = program;
  request.xmlPath = xml;
  request.resumeAfterReboot = resume;
  request.coreInstall = core;
  return request;
}

class InstallCommandTest : public InstallTest {
 protected:
  void SetUp() override {
    xml_ = std::filesystem::temp_directory_path() /
           ("tarn-install-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
            ".xml");
    std::ofstream(xml_) << "<config><forceResumeAfterReboot>0</forceResumeAfterReboot>"
                           "<features><feature action=\"1\"/></features></config>";
    machine_.attributes[xml_.wstring()] = 0x20;
  }
  void TearDown() override { std::filesystem::remove(xml_); }
  std::string Xml() {
    std::ifstream in(xml_);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  std::filesystem::path xml_;
};

TEST_F(InstallCommandTest, EditsTheXmlThenRunsTheInstaller) {
  const InstallRequest request = Request(L"C:\\dl\\Installer.exe", xml_.wstring(), true, true);
  EXPECT_EQ(InstallWithInstaller(machine_.System(), request, answer_, nullptr), 0u);
  EXPECT_NE(Xml().find("<forceResumeAfterReboot>1<"), std::string::npos) << Xml();
  EXPECT_NE(Xml().find("action=\"0\""), std::string::npos) << Xml();
  ASSERT_EQ(machine_.runs.size(), 1u);
  EXPECT_EQ(machine_.runs[0].second, L" configFile=\"" + xml_.wstring() + L"\" /arparams /silent");

  std::ofstream(xml_) << "<config><features/></config>";
  EXPECT_EQ(InstallWithInstaller(machine_.System(), request, answer_, nullptr), kErrorInvalidData);
  EXPECT_EQ(machine_.runs.size(), 1u);
}

TEST_F(InstallCommandTest, MovesTheSetupDownloaderAndItsXmlBesideEachOther) {
  machine_.attributes[L"C:\\dl\\setupdownloader.exe"] = 0x20;
  InstallRequest request = Request(L"C:\\dl\\TARN-setup-7.9.exe", xml_.wstring());
  EXPECT_EQ(InstallWithSetupDownloader(machine_.System(), request, answer_, nullptr), 0u);
  using Move = std::pair<std::wstring, std::wstring>;
  EXPECT_EQ(machine_.moves,
            (std::vector<Move>{{L"C:\\dl\\TARN-setup-7.9.exe", L"C:\\dl\\setupdownloader.exe"},
                               {xml_.wstring(), L"C:\\dl\\installer.xml"}}));
  EXPECT_EQ(machine_.checked, std::vector<std::wstring>{L"C:\\dl\\setupdownloader.exe"});
  EXPECT_EQ(machine_.runs,
            (std::vector<Move>{{L"C:\\dl\\setupdownloader.exe", L" /arparams /silent"}}));

  machine_ = FakeMachine();  // already in place: nothing to move; a failed move stops the run
  request = Request(L"C:\\dl\\SetupDownloader.exe");
  machine_.attributes[L"C:\\dl\\setupdownloader.exe"] = 0x20;
  EXPECT_EQ(InstallWithSetupDownloader(machine_.System(), request, answer_, nullptr), 0u);
  EXPECT_TRUE(machine_.moves.empty());
  machine_.moveCode = 5;
  request = Request(L"C:\\dl\\other.exe");
  EXPECT_EQ(InstallWithSetupDownloader(machine_.System(), request, answer_, nullptr), 5u);
  EXPECT_EQ(machine_.runs.size(), 1u);
}

TEST(UninstallTest, InstallerRouteAnswersHowFarItGot) {
  const std::wstring installer = std::wstring(kSetup) + L"\\{GUID}\\Installer.exe";
  const struct {
    const char* name;
    void (*arrange)(FakeMachine&);
    uint32_t code;
    std::string answer;
  } cases[] = {
      {"removed", [](FakeMachine& m) { m.exitCode = 16010; }, 16010, "16010|||HW|C-1|Workstations"},
      {"not installed", [](FakeMachine& m) { m.imagePathCode = 2; }, 2, "16010|||"},
      {"key unreadable", [](FakeMachine& m) { m.imagePathCode = 5; }, 5, "16010|||"},
      {"services stopped", [](FakeMachine& m) { m.servicesRunning = false; }, 30, "30|||"},
      {"no setup folder", [](FakeMachine& m) { m.listCode = 3; }, 3, "3|||HW|C-1|Workstations"},
      {"no installer in the setup folders",
       [](FakeMachine& m) {
         m.setupEntries = {{L".hidden", true}, {L"Installer.exe", false}, {L"{GUID}", false}};
         m.attributes[std::wstring(kSetup) + L"\\.hidden\\Installer.exe"] = 0x20;
       },
       2, "2|||HW|C-1|Workstations"},
  };
  for (const auto& c : cases) {
    FakeMachine machine;
    c.arrange(machine);
    std::string answer;
    EXPECT_EQ(UninstallWithInstaller(machine.System(), nullptr, answer, nullptr), c.code) << c.name;
    EXPECT_EQ(answer, c.answer) << c.name;
    EXPECT_EQ(machine.runs.size(), c.code == 16010 ? 1u : 0u) << c.name;
    if (!machine.configPathsRead.empty()) {
      EXPECT_EQ(machine.configPathsRead[0], std::wstring(kAgent) + L"\\oxag\\oxag.jso");
    }
  }

  FakeMachine machine;
  machine.setupEntries.insert(machine.setupEntries.begin() + 2, {L"{EMPTY}", true});
  std::string answer;
  const std::wstring password = L"p\"w d";
  EXPECT_EQ(UninstallWithInstaller(machine.System(), &password, answer, nullptr), 0u);
  EXPECT_EQ(machine.runs, (std::vector<std::pair<std::wstring, std::wstring>>{
                              {L"C:\\windows\\System32\\cmd.exe",
                               L" cmd /c \"" + installer + L"\" /remove /silent passmd5=p\"w d"}}));
}

TEST(UninstallTest, SdkRouteAsksTheAgentToRemoveItself) {
  const struct {
    const char* name;
    void (*arrange)(FakeMachine&);
    uint32_t code;
    std::string answer;
  } cases[] = {
      {"removed", [](FakeMachine&) {}, 0, "0|||HW|C-1|Workstations"},
      {"from the legacy layout", [](FakeMachine& m) { m.identityCodes = {1460}; }, 0,
       "0|||HW|C-1|Workstations"},
      {"refused by the agent", [](FakeMachine& m) { m.agentError = -5; }, 0xFFFFFFFB,
       "-5|||HW|C-1|Workstations"},
      {"no reply", [](FakeMachine& m) { m.sessionCode = 1460; }, 1460,
       "1460|||HW|C-1|Workstations"},
      {"not installed", [](FakeMachine& m) { m.imagePathCode = 2; }, 2, "16010|||"},
      {"not identified",
       [](FakeMachine& m) {
         m.identityCodes = {775, 775};
       },
       775, "775|||"},
  };
  for (const auto& c : cases) {
    FakeMachine machine;
    c.arrange(machine);
    std::string answer;
    EXPECT_EQ(UninstallWithSdk(machine.System(), answer, nullptr), c.code) << c.name;
    EXPECT_EQ(answer, c.answer) << c.name;
    const bool asked = c.answer.find("HW") != std::string::npos;
    EXPECT_EQ(machine.sdkMethods,
              asked ? std::vector<std::wstring>{L"Product.Installer.InstallerRemove||-uninstall"}
                    : std::vector<std::wstring>{})
        << c.name;
  }
}

}  // namespace
}  // namespace tarn
