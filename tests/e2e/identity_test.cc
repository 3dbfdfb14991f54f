// The endpoint identity against the simulated agent: the configuration file as the agent writes
// it in each of its encodings, the agent's Kivoro identity, and where the file is found. No
// command prints the identity, so this program calls the functions the authorization gate calls.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>

#include "agent/endpoint_identity.h"
#include "agent/service_probes.h"
#include "app/wiring.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/test_log_capture.h"
#include "tests/e2e/simulated_agent.h"

namespace tarn::e2e {
namespace {

using sim::ConfigEncoding;
using sim::ConfigLayout;

// U+00E9, U+20AC, U+1D11E: every UTF-8 length, and a UTF-16 surrogate pair.
const sim::Identity kFileIdentity = {"HW-\xC3\xA9-file", "CO-\xE2\x82\xAC-file",
                                     "Folder \xF0\x9D\x84\x9E/B\xC3\xBCro"};

class IdentityTest : public AgentTest {
 protected:
  void SetUp() override {
    WireModuleCheck();  // as the tool does at start-up
    AgentTest::SetUp();
  }
  void TearDown() override {
    // Back to what an installation writes, for the tests that follow.
    std::error_code ignored;
    std::filesystem::remove_all(sim::ConfigFilePath(ConfigLayout::kLegacy).parent_path(), ignored);
    EXPECT_EQ(sim::WriteAgentConfig(ConfigLayout::kCurrent, ConfigEncoding::kNoMark,
                                    sim::DefaultIdentity()),
              0u);
    AgentTest::TearDown();
  }

  static std::wstring CurrentPath() {
    return sim::ConfigFilePath(ConfigLayout::kCurrent).wstring();
  }
};

TEST_F(IdentityTest, ConfigurationFileReadsBackInEveryEncoding) {
  for (uint32_t code = 0; code <= 6; ++code) {
    const bool utf32 = code == kEncodingUtf32BigEndian || code == kEncodingUtf32LittleEndian;
    ASSERT_EQ(sim::WriteAgentConfig(ConfigLayout::kCurrent, static_cast<ConfigEncoding>(code),
                                    kFileIdentity),
              0u);
    std::string hardwareId, groupId, companyId;
    EXPECT_EQ(ReadAgentConfigFile(CurrentPath(), &hardwareId, &groupId, &companyId, nullptr),
              utf32 ? kErrorUnsupportedEncoding : 0u)
        << code;
    EXPECT_EQ(hardwareId + "|" + companyId + "|" + groupId,
              utf32 ? "||"
                    : *kFileIdentity.hwid + "|" + *kFileIdentity.custid + "|" +
                          *kFileIdentity.computersFolder)
        << code;
  }
}

TEST_F(IdentityTest, AgentFirstThenTheFile) {
  const std::string agentIdentity =
      R"({"reply":{"error":0,"output":{"endpointID":"HW-agent","companyID":"CO-agent"}}})";
  constexpr const char* kAgentRoute = "KV Identity retrieved successfully. Retrieving groupId";
  constexpr const char* kFileRoute = "KV identity cannot be retrieved. Using legacy checks";
  struct Case {
    const char* name;
    std::string kivoroEntry;
    bool askAgentFirst;
    uint32_t result;
    std::string identity;  // hardware and company id
    size_t requests;
    const char* route;
  } cases[] = {
      {"agent answers", agentIdentity, true, 0, "HW-agent|CO-agent", 1, kAgentRoute},
      {"agent not asked", agentIdentity, false, kResultAgentNotAsked, "HW-file|CO-file", 0,
       kFileRoute},
      {"agent's error", R"({"reply":{"error":5}})", true, 5, "HW-file|CO-file", 1, kFileRoute},
      // The agent answered: its missing company id is not looked for in the file.
      {"no companyID", R"({"reply":{"output":{"endpointID":"HW-agent"}}})", true, 0, "HW-agent|", 1,
       kAgentRoute},
  };
  ASSERT_EQ(sim::WriteAgentConfig(ConfigLayout::kCurrent, ConfigEncoding::kUtf8Mark,
                                  {"HW-file", "CO-file", "G-file"}),
            0u);
  for (const auto& c : cases) {
    UseScenario(R"({"methods":{"ar.Product.Configuration.GetKivoroIdentity":)" + c.kivoroEntry +
                "}}");
    ASSERT_EQ(sim::ClearJournal(), 0u);
    std::string hardwareId = "stale", groupId = "stale", companyId = "stale";
    const auto log = LogOf([&](Logger* log) {
      EXPECT_EQ(GetEndpointInformation(&hardwareId, &groupId, &companyId, CurrentPath(),
                                       c.askAgentFirst, log),
                c.result)
          << c.name;
    });
    EXPECT_TRUE(ContainsInOrder(
        log, {c.route, "Group id is: G-file", "Finished getting endpoint information"}))
        << c.name;
    EXPECT_EQ(hardwareId + "|" + companyId + "|" + groupId, c.identity + "|G-file") << c.name;
    EXPECT_EQ(Journal("request").size(), c.requests) << c.name;
  }
}

// LocateAgentConfigFile's code, path and services flag.
std::wstring Located() {
  std::wstring path;
  uint8_t servicesRunning = 0;
  const uint32_t code = LocateAgentConfigFile(path, servicesRunning, nullptr);
  return std::to_wstring(code) + L" " + path + L" " + std::to_wstring(servicesRunning);
}

TEST_F(IdentityTest, ConfigurationFileLocation) {
  const std::wstring agentDirectory = sim::AgentDirectory().wstring();
  EXPECT_EQ(Located(), L"0 " + agentDirectory + L"\\oxagng\\oxagng.jso 1");

  // No legacy folder: the path's folder is missing, and that error comes back.
  const std::wstring legacy = sim::ConfigFilePath(ConfigLayout::kLegacy).wstring();
  std::string hardwareId;
  EXPECT_EQ(
      LogOf([&](Logger* log) {
        EXPECT_EQ(ReadAgentConfigFile(legacy, &hardwareId, nullptr, nullptr, log), 3u);
      }).back(),
      "Cannot get file encoding. Failed with error: 3. Possible cause: legacy file not found");

  // Only the legacy layout: named, but not looked at, and the services are not waited for.
  ASSERT_TRUE(std::filesystem::remove(sim::ConfigFilePath(ConfigLayout::kCurrent)));
  ASSERT_EQ(sim::WriteAgentConfig(ConfigLayout::kLegacy, ConfigEncoding::kNoMark,
                                  {"HW-legacy", "CO-legacy", "G-legacy"}),
            0u);
  EXPECT_EQ(Located(), L"2 " + agentDirectory + L"\\oxag\\oxag.jso 0");

  DeleteServiceKey();
  EXPECT_EQ(Located(), L"0  0");
}

}  // namespace
}  // namespace tarn::e2e
