// Detect, install and uninstall against a fake machine: the decisions, the answers, the command
// lines, and what is never started.
#include <gtest/gtest.h>

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
  uint32_t holdCode = 0;
  bool signatureValid = true;
  uint32_t exitCode = 0;
  uint32_t sessionCode = 0;
  int64_t agentError = 0;

  // What happened.
  std::vector<std::wstring> configPathsRead, sdkMethods;
  std::vector<std::pair<std::wstring, std::wstring>> runs;
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
    s.moveFile = [](const std::wstring&, const std::wstring&) { return 0u; };
    s.holdFileForUse = [this](const std::wstring&, FileHold& hold) {
      if (holdCode != 0) return holdCode;
      held = true;
      hold =
          FileHold(this, [](void* machine) { static_cast<FakeMachine*>(machine)->held = false; });
      return 0u;
    };
    s.validateModuleSignature = [this](bool& isValid, const std::wstring&,
                                       const std::wstring& subject, Logger*) {
      EXPECT_EQ(subject, L"Arvantis SRL");
      heldWhileChecked = held;
      isValid = signatureValid;
      return 0u;
    };
    s.runProcess = [this](const std::wstring& application, const std::wstring& commandLine) {
      runs.emplace_back(application, commandLine);
      heldWhileRun = held;
      return exitCode;
    };
    return s;
  }
};

// The states the test bed stages are tested end to end; these are the ones it cannot.
TEST(DetectTest, AnswersByTheAgentsState) {
  const std::vector<std::wstring> layouts = {std::wstring(kAgent) + L"\\oxagng\\oxagng.jso",
                                             std::wstring(kAgent) + L"\\oxag\\oxag.jso"};
  const char* found = "TARN Already exists";
  const struct {
    const char* name;
    void (*arrange)(FakeMachine&);
    bool rebootFlag;
    uint32_t code;
    std::string answer;
    size_t layoutsRead;  // the current layout's file, then the legacy one's
    const char* last;    // the closing line, after "TARN Detect finished" once a file was read
  } cases[] = {
      {"key unreadable", [](FakeMachine& m) { m.imagePathCode = 5; }, true, 5, "0|||", 0,
       "Failed to retrieve TARN Service Image Path"},
      {"restart pending, not asked", [](FakeMachine& m) { m.rebootRequired = 1; }, false, 0,
       "1|HW|C-1|Workstations", 1, found},
      {"reboot probe failed",
       [](FakeMachine& m) {
         m.rebootCode = 13;
         m.rebootRequired = 1;
       },
       true, 0, "1|HW|C-1|Workstations", 1, found},
      {"invalid feature list in other case",
       [](FakeMachine& m) { m.issues = "Product.invalidFeatureList"; }, false, 0,
       "2|HW|C-1|Workstations", 1, found},
      {"issues unknown", [](FakeMachine& m) { m.issuesCode = 1460; }, false, 0,
       "2|HW|C-1|Workstations", 1, found},
      {"identity on the second ask", [](FakeMachine& m) { m.identityCodes = {1460}; }, false, 0,
       "1|HW|C-1|Workstations", 2, found},
      {"identity on neither",
       [](FakeMachine& m) {
         m.identityCodes = {1460, 1460};
       },
       false, 1460, "2|", 2, "Error code: 1460"},
  };
  for (const auto& c : cases) {
    FakeMachine machine;
    c.arrange(machine);
    std::string answer;
    const auto log = LogOf([&](Logger* l) {
      EXPECT_EQ(Detect(machine.System(), c.rebootFlag, answer, l), c.code) << c.name;
    });
    EXPECT_EQ(answer, c.answer) << c.name;
    EXPECT_EQ(machine.configPathsRead,
              std::vector<std::wstring>(layouts.begin(), layouts.begin() + c.layoutsRead))
        << c.name;
    EXPECT_EQ(log.back(), c.last) << c.name;
    EXPECT_EQ(log.end()[-2] == "TARN Detect finished", c.layoutsRead > 0) << c.name;
  }
}

// The end-to-end tests cover the command lines, the signatures and the moves; these cover the
// refusals the test bed cannot stage and the hold's extent.
TEST(InstallTest, RunsOnlyAcceptedInstallersHeldFromTheCheckToTheEndOfTheRun) {
  const struct {
    const char* name;
    void (*arrange)(FakeMachine&);
    std::wstring xml;
    uint32_t code;
    size_t runs;
    bool held;  // while checked and while run
  } cases[] = {
      {"accepted", [](FakeMachine&) {}, L"", 0, 1, true},
      // No agent: detect fails with "0|||" and the install goes on; a hold that fails otherwise
      // leaves the answer to the check.
      {"hold fails otherwise",
       [](FakeMachine& m) {
         m.imagePathCode = 2;
         m.holdCode = 2;
       },
       L"", 0, 1, false},
      {"XML missing", [](FakeMachine&) {}, L"C:\\dl\\absent.xml", kInvalidFileAttributes, 0, false},
      {"someone locks the installer", [](FakeMachine& m) { m.holdCode = 33; }, L"", 33, 0, false},
      {"not valid without a code", [](FakeMachine& m) { m.signatureValid = false; }, L"",
       kErrorNotValidlySigned, 0, false},
  };
  for (const auto& c : cases) {
    FakeMachine machine;
    c.arrange(machine);
    std::string answer = "0|||";
    EXPECT_EQ(RunInstaller(machine.System(), L"C:\\dl\\Installer.exe", c.xml, answer, nullptr),
              c.code)
        << c.name;
    EXPECT_EQ(machine.runs.size(), c.runs) << c.name;
    EXPECT_EQ(machine.heldWhileChecked && machine.heldWhileRun, c.held) << c.name;
    EXPECT_FALSE(machine.held) << c.name;  // released on every path
    if (c.runs == 0) {
      EXPECT_EQ(answer, "0|||") << c.name;
    }
  }
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
