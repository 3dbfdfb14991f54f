#include "ops/feature_editing.h"

#include <gtest/gtest.h>

#include "base/test_log_capture.h"

namespace tarn {
namespace {

using Ids = std::vector<std::wstring>;

// A runner that records what would go to the agent and answers `code`.
struct RecordingRunner {
  std::vector<std::wstring> requests;
  uint32_t code = 0;
  FeatureRequestRunner get() {
    return [this](const std::wstring& request, Logger*) {
      requests.push_back(request);
      return code;
    };
  }
};

std::vector<std::wstring> CommandLine(const Ids& arguments) {
  Ids line = {L"C:\\tools\\tarn-rmm.exe", L"-editfeatures"};
  line.insert(line.end(), arguments.begin(), arguments.end());
  return line;
}

TEST(FeatureEditingTest, RequestTextIsByteForByte) {
  EXPECT_EQ(
      BuildAddRemoveRequest({L"AntiExploit", L"Firewall"}, {}),
      L"{ \"type\":\"oxsdk\", \"data\":{ \"Product.Installer\":[ { \"@name\": \"AddRemove\", "
      L"\"input\":{ \"features\":{ \"add\":[ \"AntiExploit\", \"Firewall\" ], \"remove\":[  ] "
      L"}, \"competitorRemoval\" : { \"execute\" : \"never\" } } } ] } }");
}

TEST(FeatureEditingTest, ArgumentErrorsEndWith160BeforeTheAgent) {
  const struct {
    Ids arguments;
    const char* message;
  } cases[] = {
      {{L"-add", L"firewall"}, "Feature \"firewall\" doesn't exists or has already been added"},
      {{L"-add", L"Firewall", L"-remove", L"Firewall"},
       "Feature \"Firewall\" doesn't exists or has already been added"},
      {{L"-add", L"Firewall", L"Firewall"},
       "Feature \"Firewall\" doesn't exists or has already been added"},
      {{L"-add", L""}, "Feature \"\" doesn't exists or has already been added"},
      {{L"Firewall", L"-add", L"AntiExploit"}, "The feature argument list is invalid"},
      {{L"-add", L"Firewall", L"-add", L"AntiExploit"},
       "Arguments for add features operation are invalid"},
      {{L"-add", L"-remove", L"Firewall"}, "Arguments for add features operation are invalid"},
      {{L"-add", L"Firewall", L"-remove"}, "Arguments for remove features operation are invalid"},
      {{L"-set"}, "Arguments for set features operation are invalid"},
      {{L"-SET", L"Firewall", L"-Set", L"FileScan"},
       "Arguments for set features operation are invalid"},
      {{L"-set", L"FileScan", L"-add", L"Firewall"},
       "The add/remove feature operation cannot be performed due to invalid parameters"},
      {{L"-remove", L"Firewall", L"-set", L"FileScan"},
       "The add/remove feature operation cannot be performed due to invalid parameters"},
  };
  for (const auto& c : cases) {
    RecordingRunner runner;
    uint32_t code = 0;
    const auto log =
        LogOf([&](Logger* l) { code = EditFeatures(runner.get(), CommandLine(c.arguments), l); });
    EXPECT_EQ(code, 160u) << c.message;
    EXPECT_TRUE(runner.requests.empty()) << c.message;
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log.back(), c.message);
  }
}

TEST(FeatureEditingTest, RequestsCarryTheIdsInWalkOrder) {
  const Ids others = {L"UserControl",
                      L"Antiphishing",
                      L"UpdateServer",
                      L"BehavioralScan",
                      L"TrafficScan",
                      L"MailServers",
                      L"DataLossPrevention",
                      L"ApplicationControl",
                      L"PowerUser",
                      L"EventCorrelator",
                      L"VolumeEncryption",
                      L"PatchManagement",
                      L"PatchManagementServer",
                      L"VulnerabilityAssessment",
                      L"AntiExploit",
                      L"NetworkMonitor",
                      L"Introspection",
                      L"IntegrityMonitor",
                      L"ContainerProtection"};
  const struct {
    Ids arguments;
    Ids add, remove;
  } cases[] = {
      {{L"-add", L"Firewall"}, {L"Firewall"}, {}},
      {{L"-ADD", L"Firewall", L"AntiExploit", L"-Remove", L"PowerUser"},
       {L"AntiExploit", L"Firewall"},
       {L"PowerUser"}},
      {{L"-remove", L"PowerUser", L"VolumeEncryption", L"-add", L"Firewall"},
       {L"Firewall"},
       {L"VolumeEncryption", L"PowerUser"}},
      // A set names the whole wanted state, both lists in the agent's order.
      {{L"-set", L"Firewall", L"FileScan"}, {L"FileScan", L"Firewall"}, others},
  };
  for (const auto& c : cases) {
    RecordingRunner runner;
    EXPECT_EQ(EditFeatures(runner.get(), CommandLine(c.arguments), nullptr), 0u);
    ASSERT_EQ(runner.requests.size(), 1u);
    EXPECT_EQ(runner.requests[0], BuildAddRemoveRequest(c.add, c.remove));
  }

  RecordingRunner runner;
  EXPECT_EQ(EditFeatures(runner.get(), CommandLine({}), nullptr), 0u);
  EXPECT_TRUE(runner.requests.empty());
}

TEST(FeatureEditingTest, AgentCodeReturnedUnchangedAndLogged) {
  const struct {
    Ids arguments;
    std::vector<std::string> log;
  } cases[] = {
      {{L"-add", L"Firewall"},
       {"TARNEditFeatures parse arguments", "Execute Add/Remove TARN features method",
        "Execute Add/Remove TARN features command", "Failed to execute method. Error code: 1460",
        "Finished to Modify Features with error code: 1460",
        "Finished to edit features with error code: 1460"}},
      {{L"-set", L"Firewall"},
       {"TARNEditFeatures parse arguments", "Execute TARN Set Features method",
        "Execute Set TARN features command", "Failed to execute method. Error code: 1460",
        "Finished to TARN Set Features with error code: 1460",
        "Finished to edit features with error code: 1460"}},
  };
  for (const auto& c : cases) {
    RecordingRunner runner;
    runner.code = 1460;
    uint32_t code = 0;
    const auto log =
        LogOf([&](Logger* l) { code = EditFeatures(runner.get(), CommandLine(c.arguments), l); });
    EXPECT_EQ(code, 1460u);
    EXPECT_EQ(log, c.log);
  }
}

TEST(FeatureEditingTest, AddRemoveRefusesOverlappingListsWithoutARequest) {
  RecordingRunner runner;
  EXPECT_EQ(AddRemoveFeatures(runner.get(), {L"Firewall", L"Firewall"}, {}, nullptr), 160u);
  EXPECT_EQ(AddRemoveFeatures(runner.get(), {L"Firewall"}, {L"Firewall"}, nullptr), 160u);
  EXPECT_TRUE(runner.requests.empty());
}

}  // namespace
}  // namespace tarn
