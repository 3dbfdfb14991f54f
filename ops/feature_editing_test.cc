#include "ops/feature_editing.h"

#include <gtest/gtest.h>

#include <sstream>

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
      {{L"-add", L"Firewall", L"-remove"}, "Arguments for remove features operation are invalid"},
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

TEST(FeatureEditingTest, RequestsCarryTheIdsInWalkOrderAndTheAgentsCode) {
  // Every feature the set leaves out, in the agent's order.
  Ids others;
  std::wistringstream words(
      L"UserControl Antiphishing UpdateServer BehavioralScan TrafficScan MailServers "
      L"DataLossPrevention ApplicationControl PowerUser EventCorrelator VolumeEncryption "
      L"PatchManagement PatchManagementServer VulnerabilityAssessment AntiExploit NetworkMonitor "
      L"Introspection IntegrityMonitor ContainerProtection");
  for (std::wstring word; words >> word;) others.push_back(word);
  // The agent's code is the command's, each route closing with its own line.
  const char* addRemove = "Finished to Modify Features with error code: 1460";
  const struct {
    Ids arguments;
    Ids add, remove;
    const char* route;
  } cases[] = {
      {{L"-add", L"Firewall"}, {L"Firewall"}, {}, addRemove},
      {{L"-ADD", L"Firewall", L"AntiExploit", L"-Remove", L"PowerUser"},
       {L"AntiExploit", L"Firewall"},
       {L"PowerUser"},
       addRemove},
      {{L"-remove", L"PowerUser", L"VolumeEncryption", L"-add", L"Firewall"},
       {L"Firewall"},
       {L"VolumeEncryption", L"PowerUser"},
       addRemove},
      // A set names the whole wanted state, both lists in the agent's order.
      {{L"-set", L"Firewall", L"FileScan"},
       {L"FileScan", L"Firewall"},
       others,
       "Finished to TARN Set Features with error code: 1460"},
  };
  for (const auto& c : cases) {
    RecordingRunner runner;
    runner.code = 1460;
    uint32_t code = 0;
    const auto log =
        LogOf([&](Logger* l) { code = EditFeatures(runner.get(), CommandLine(c.arguments), l); });
    EXPECT_EQ(code, 1460u) << c.route;
    ASSERT_EQ(runner.requests.size(), 1u);
    EXPECT_EQ(runner.requests[0], BuildAddRemoveRequest(c.add, c.remove));
    EXPECT_TRUE(ContainsInOrder(log, {c.route, "Finished to edit features with error code: 1460"}))
        << c.route;
  }

  RecordingRunner runner;
  EXPECT_EQ(EditFeatures(runner.get(), CommandLine({}), nullptr), 0u);
  EXPECT_TRUE(runner.requests.empty());
}

TEST(FeatureEditingTest, AddRemoveRefusesOverlappingListsWithoutARequest) {
  RecordingRunner runner;
  EXPECT_EQ(AddRemoveFeatures(runner.get(), {L"Firewall", L"Firewall"}, {}, nullptr), 160u);
  EXPECT_EQ(AddRemoveFeatures(runner.get(), {L"Firewall"}, {L"Firewall"}, nullptr), 160u);
  EXPECT_TRUE(runner.requests.empty());
}

}  // namespace
}  // namespace tarn
