#include "tests/e2e/simulated_agent.h"

#include <windows.h>

#include "base/win_handles.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {

void PlantNonce(const std::vector<uint8_t>& nonce) {
  RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\ArvantisAuthService");
  UniqueHkey key;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\ArvantisAuthService", 0, nullptr, 0,
                            KEY_ALL_ACCESS, nullptr, key.put(), nullptr),
            ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExW(key.get(), L"nonce", 0, REG_BINARY, nonce.data(),
                           static_cast<DWORD>(nonce.size())),
            ERROR_SUCCESS);
}

void AgentTest::SetUp() {
  kit_ = sim::KitOfBuildTree(BuildDirectory());
  uint32_t state = 0;
  bool running = true;
  for (const auto& service : sim::kAgentServices) {
    running =
        running && sim::QueryAgentServiceState(service, &state) == 0 && state == SERVICE_RUNNING;
  }
  if (!running || !std::filesystem::exists(sim::AgentDirectory() / "oxsdk.dll")) {
    ASSERT_EQ(sim::InstallAgent(kit_, sim::InstallOptions{}), 0u);
  }
  ASSERT_EQ(sim::SelectScenario(kit_, L"healthy"), 0u);
  ASSERT_EQ(sim::ClearJournal(), 0u);
  ASSERT_EQ(sim::ClearRebootMarker(), 0u);
}

void AgentTest::TearDown() {
  if (keyDeleted_) {
    EXPECT_EQ(sim::RestoreSecurityServiceKey(), 0u);
  }
  if (libraryReplaced_) {
    EXPECT_EQ(sim::UseModuleVariant(kit_, sim::Module::kOxsdk, L"timestamped"), 0u);
  }
  EXPECT_EQ(sim::ClearRebootMarker(), 0u);
}

void AgentTest::UseScenario(const std::string& scenario) {
  if (scenario.empty() || scenario[0] != '{') {
    const std::string name = scenario.empty() ? "healthy" : scenario;
    ASSERT_EQ(sim::SelectScenario(kit_, std::wstring(name.begin(), name.end())), 0u);
  } else {
    ASSERT_EQ(sim::WriteScenario(scenario), 0u);
  }
}

void AgentTest::Expect(const std::vector<AgentCase>& cases) {
  for (const auto& c : cases) {
    const std::wstring name = c.args.empty() ? L"" : c.args[0];
    Sandbox box;
    if (c.variant != nullptr || libraryReplaced_) {  // a signed variant of oxsdk.dll
      libraryReplaced_ = true;
      ASSERT_EQ(
          sim::UseModuleVariant(kit_, sim::Module::kOxsdk, c.variant ? c.variant : L"timestamped"),
          0u);
    }
    UseScenario(c.scenario);
    EXPECT_EQ(box.Run(c.args), c.expected)
        << name << " " << (c.variant ? c.variant : L"") << " in " << c.scenario;
    if (!c.logLine.empty()) {
      EXPECT_TRUE(box.Logged(c.logLine)) << name << ": no \"" << c.logLine << "\"";
    }
  }
}

void AgentTest::DeleteServiceKey() {
  keyDeleted_ = true;
  ASSERT_EQ(sim::DeleteSecurityServiceKey(), 0u);
}

std::vector<rapidjson::Document> AgentTest::Journal(const char* kind) {
  std::vector<std::string> lines;
  EXPECT_EQ(sim::ReadJournal(&lines), 0u);
  std::vector<rapidjson::Document> entries;
  for (const auto& line : lines) {
    rapidjson::Document entry;
    entry.Parse(line.c_str());
    if (!entry.HasParseError() && entry.IsObject() && entry.HasMember("kind") &&
        std::string(entry["kind"].GetString()) == kind) {
      entries.push_back(std::move(entry));
    }
  }
  return entries;
}

}  // namespace tarn::e2e
