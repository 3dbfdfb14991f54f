// The nine read-only status commands end to end against the simulated agent.
#include <gtest/gtest.h>

#include "base/test_log_capture.h"
#include "tests/e2e/simulated_agent.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

using AgentStatusTest = AgentTest;

// A scenario whose "Product.GetStatus" answers with `output` (JSON text of the object).
std::string StatusScenario(const std::string& output) {
  return R"({"methods":{"Product.GetStatus":{"reply":{"error":0,"output":)" + output + "}}}}";
}

// "Update.GetUpdateSettings" with days "mo" and "th" allows four days for "Antivirus": an update
// 95 hours old, more than the two days without a schedule, is still up to date.
const std::string kSchedule =
    R"({"methods":{"Product.GetStatus":{"reply":{"output":{"Locations":{"Antivirus":{)"
    R"("updateAvailable":{"status":"n/a"},"update":{"error":0,"lastSucceededTime":"$now-95h"},)"
    R"("check":{"error":0,"lastSucceededTime":"$now-1h"}}}}}},)"
    R"("Update.GetUpdateSettings":{"reply":{"output":{"settings":{"signatureSchedulerSettings":)"
    R"({"enabled":true,"weekDays":{"days":["mo","th"]}}}}}}}})";

// One answer per command path. The rules behind the answers, and their edges, are the unit tests'
// (ops/product_status_test.cc, ops/update_health_test.cc); here the data comes from the agent.
TEST_F(AgentStatusTest, EachCommandAnswersFromTheAgentsReply) {
  const std::string alerts =
      StatusScenario(R"({"Alerts":{"A":{"severity":"critical"},"B":{"severity":"info"}}})");
  const std::string features = StatusScenario(
      R"({"Features":[{"id":"A","isFunctioning":false},{"id":"B","enabled":true}]})");
  const std::string asymmetric = StatusScenario(
      R"({"Locations":{"Product":{"update":{"error":5,"time":100},"check":{"error":0,"time":200}},)"
      R"("Antivirus":{"update":{"error":0,"time":300},"check":{"error":7,"time":1}},)"
      R"("Firewall":{"update":{"error":3,"time":50,"lastSucceededTime":40}}}})");
  Expect({
      {alerts, {L"-HasCriticalIssues"}, {0, "A"}},
      {StatusScenario(R"({"Locations":{"Product":{},"Antivirus":{}}})"),
       {L"-getupdatelocations"},
       {0, "Product|Antivirus"}},
      {StatusScenario(R"({"LastUpdateTime":1600000000})"), {L"-getlastupdate"}, {0, "1600000000"}},
      {features, {L"-getfeaturestatus"}, {0, "A=0|B=1"}},
      {"", {L"-getproductversion", L"x"}, {160, ""}},
      {asymmetric, {L"-checkforupdateerrors"}, {0, "Antivirus=7|Firewall=3"}},
      {asymmetric, {L"-getupdatestatus", L"Firewall"}, {0, "3|50|40"}},
      {asymmetric, {L"-getupdatestatus", L"firewall"}, {160, ""}},  // no such location
      {asymmetric, {L"-getupdatestatus"}, {160, ""}},
      {StatusScenario("{}"), {L"-isuptodate"}, {3, ""}},  // no locations
      {kSchedule, {L"-isuptodate"}, {0, "1"}},
      {StatusScenario(R"({"PendingRestart":false})"), {L"-checkifrebootrequired"}, {0, "0"}},
      {StatusScenario(R"({"PendingRestart":true})"), {L"-checkifrebootrequired"}, {0, "1"}},
      // This command prints on every path.
      {StatusScenario(R"({"PendingRestart":"yes"})"), {L"-checkifrebootrequired", L"x"}, {13, "0"}},
  });
}

TEST_F(AgentStatusTest, RebootRequiredFromTheMarkerKeyWithoutAskingTheAgent) {
  Sandbox box;
  for (auto view : {sim::RegistryView::k64Bit, sim::RegistryView::k32Bit}) {
    ASSERT_EQ(sim::SetRebootMarker(view), 0u);
    ASSERT_EQ(sim::ClearJournal(), 0u);
    EXPECT_EQ(box.Run({L"-checkifrebootrequired"}).out, "1");
    EXPECT_TRUE(Journal("request").empty());  // the agent is not asked
    ASSERT_EQ(sim::ClearRebootMarker(), 0u);
  }
}

TEST_F(AgentStatusTest, RequestIsTheTemplateByteForByteAndTheLogNamesTheOutcome) {
  Sandbox box;
  ASSERT_EQ(box.Run({L"-getproductversion"}), (ToolRun{0, "7.9.12.345"}));  // the healthy agent's
  const auto requests = Journal("request");
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_STREQ(requests[0]["request"].GetString(),
               R"({"type":"oxsdk","data":{"Product":[{"@name":"GetStatus","input":{}}]}})");
  const auto calls = Journal("call");
  std::vector<std::string> order;
  for (const auto& call : calls) order.push_back(call["call"].GetString());
  EXPECT_EQ(order, (std::vector<std::string>{"OXSDK_GetInstance", "RegisterNotifications",
                                             "UnregisterNotifications", "OXSDK_ReleaseInstance"}));
  EXPECT_TRUE(ContainsInOrder(
      box.LogMessages(),
      {"Found product version: 7.9.12.345", "Finished to get product version with error code: 0"}));
}

using AgentFailureTest = AgentTest;

// The exchange's own failures are the unit tests' (agent/sdk_exchange_test.cc), the trust result
// of each signed variant the bed's (tests/bed); here each line of the library's check, and its
// answers through each of the wrapper's three codes.
TEST_F(AgentFailureTest, LibraryAndSessionFailuresAreTheCommandsExitCode) {
  const std::string trust = "Failed to verify trust. Error code: ";
  Expect({
      {"", {L"-getproductversion"}, {0x800B0100, ""}, trust + "-2146762496", L"unsigned"},
      {"", {L"-getproductversion"}, {5007, ""}, "There are no provider signers", L"untimestamped"},
      {"", {L"-getfeaturestatus"}, {1168, ""}, "Certificate subject not found", L"foreign"},
      {"",
       {L"-hascriticalissues"},
       {1168, ""},
       "Failed to validate binary. Error code : 1168",
       L"capitals"},
      // Accepted: the agent's own error comes back.
      {R"({"methods":{"Product.GetStatus":{"reply":{"error":9}}}})",
       {L"-getproductversion"},
       {9, ""},
       "Binary is valid",
       L"legacy-timestamp"},
      {R"({"getInstance":-7})",
       {L"-getproductversion"},
       {4294967289u, ""},
       "API failed with error code: -7"},
      {R"({"getInstance":-7})",
       {L"-hascriticalissues"},
       {775, ""},
       "Failed to get OXSDK instance. Error code : -7"},
      {R"({"methods":{"Product.GetStatus":{"reply":{"error":5}}}})",
       {L"-getlastupdate"},
       {5, ""},
       "Endpoint SDK failed with error code: 5"},
  });
}

TEST_F(AgentFailureTest, MissingServiceKeyMeansNoAgent) {
  DeleteServiceKey();
  Expect({{"",
           {L"-getproductversion"},
           {2, ""},
           "Failed to retrieve TARN service image path. Error code : 2"},
          {"", {L"-checkifrebootrequired"}, {0, "0"}}});  // no agent: no restart pending
}

}  // namespace
}  // namespace tarn::e2e
