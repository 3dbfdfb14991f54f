// The nine read-only status commands end to end against the simulated agent.
#include <gtest/gtest.h>

#include <algorithm>

#include "base/test_log_capture.h"
#include "tests/e2e/simulated_agent.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

struct StatusCase {
  const char* name;
  std::string output;  // "Product.GetStatus" output
  std::vector<std::wstring> args;
  uint32_t exitCode;
  std::string answer;
};

class AgentStatusTest : public AgentTest {
 protected:
  void Expect(const std::vector<StatusCase>& cases) {
    Sandbox box;
    for (const auto& c : cases) {
      UseStatusOutput(c.output);
      const ToolRun run = box.Run(c.args);
      EXPECT_EQ(run.exitCode, c.exitCode) << c.name;
      EXPECT_EQ(run.out, c.answer) << c.name;
    }
  }
};

TEST_F(AgentStatusTest, ProductStatusQueries) {
  Expect({
      {"critical issues", R"({"Alerts":{"A":{"severity":"critical"},"B":{"severity":"info"}}})",
       {L"-HasCriticalIssues"}, 0, "A"},
      {"locations", R"({"Locations":{"Product":{},"Antivirus":{}}})", {L"-getupdatelocations"}, 0,
       "Product|Antivirus"},
      {"version", R"({"Locations":{"Product":{"Version":"7.9.12.345"}}})",
       {L"-getproductversion"}, 0, "7.9.12.345"},
      {"last update", R"({"LastUpdateTime":1600000000})", {L"-getlastupdate"}, 0, "1600000000"},
      {"features", R"({"Features":[{"id":"A","isFunctioning":false},{"id":"B","enabled":true}]})",
       {L"-getfeaturestatus"}, 0, "A=0|B=1"},
      {"extra argument", "{}", {L"-getproductversion", L"x"}, 160, ""},
  });
}

TEST_F(AgentStatusTest, UpdateHealthChecks) {
  const std::string asymmetric =
      R"({"Locations":{"Product":{"update":{"error":5,"time":100},"check":{"error":0,"time":200}},)"
      R"("Antivirus":{"update":{"error":0,"time":300},"check":{"error":7,"time":1}},)"
      R"("Firewall":{"update":{"error":3,"time":50,"lastSucceededTime":40}}}})";
  Expect({
      {"errors", asymmetric, {L"-checkforupdateerrors"}, 0, "Antivirus=7|Firewall=3"},
      {"status", asymmetric, {L"-getupdatestatus", L"Firewall"}, 0, "3|50|40"},
      {"status of an unknown location", asymmetric, {L"-getupdatestatus", L"firewall"}, 160, ""},
      {"status without a location", asymmetric, {L"-getupdatestatus"}, 160, ""},
      {"no locations", R"({})", {L"-isuptodate"}, 3, ""},
  });
}

// "Update.GetUpdateSettings" with days "mo" and "th" allows four days for "Antivirus".
std::string ScheduleScenario(const char* updateAge, const char* days) {
  return std::string(R"({"methods":{"Product.GetStatus":{"reply":{"output":{"Locations":{"Antivirus":{)"
                     R"("updateAvailable":{"status":"n/a"},)"
                     R"("update":{"error":0,"lastSucceededTime":"$now-)") +
         updateAge +
         R"("},"check":{"error":0,"lastSucceededTime":"$now-1h"}}}}}},)"
         R"("Update.GetUpdateSettings":{"reply":{"output":{"settings":{"signatureSchedulerSettings":)"
         R"({"enabled":true,"weekDays":{"days":)" +
         days + "}}}}}}}}";
}

TEST_F(AgentStatusTest, UpToDateFollowsTheSchedule) {
  Sandbox box;
  struct Case {
    const char* age;
    const char* days;
    uint32_t exitCode;
    const char* answer;
  } cases[] = {
      {"95h", R"(["mo","th"])", 0, "1"},  // inside four days
      {"97h", R"(["mo","th"])", 0, "0"},  // past four days
      {"1h", R"(["Mo"])", 3, ""},
  };
  for (const auto& c : cases) {
    UseScenario(ScheduleScenario(c.age, c.days));
    const ToolRun run = box.Run({L"-isuptodate"});
    EXPECT_EQ(run.exitCode, c.exitCode) << c.age << " " << c.days;
    EXPECT_EQ(run.out, c.answer) << c.age << " " << c.days;
  }
}

TEST_F(AgentStatusTest, RebootRequiredFromMarkerKeyOrAgent) {
  Sandbox box;
  UseStatusOutput(R"({"PendingRestart":false})");
  ToolRun run = box.Run({L"-checkifrebootrequired"});
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, "0");

  UseStatusOutput(R"({"PendingRestart":true})");
  EXPECT_EQ(box.Run({L"-checkifrebootrequired"}).out, "1");

  UseStatusOutput(R"({"PendingRestart":"yes"})");
  run = box.Run({L"-checkifrebootrequired", L"any"});
  EXPECT_EQ(run.exitCode, 13u);
  EXPECT_EQ(run.out, "0");  // this command prints on every path

  for (auto view : {sim::RegistryView::k64Bit, sim::RegistryView::k32Bit}) {
    ASSERT_EQ(sim::SetRebootMarker(view), 0u);
    ASSERT_EQ(sim::ClearJournal(), 0u);
    run = box.Run({L"-checkifrebootrequired"});
    EXPECT_EQ(run.out, "1");
    EXPECT_TRUE(Journal("request").empty());  // the agent is not asked
    ASSERT_EQ(sim::ClearRebootMarker(), 0u);
  }
}

TEST_F(AgentStatusTest, RequestIsTheTemplateByteForByte) {
  Sandbox box;
  ASSERT_EQ(box.Run({L"-getproductversion"}).out, "7.9.12.345");
  const auto requests = Journal("request");
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_STREQ(requests[0]["request"].GetString(),
               R"({"type":"oxsdk","data":{"Product":[{"@name":"GetStatus","input":{}}]}})");
  const auto calls = Journal("call");
  std::vector<std::string> order;
  for (const auto& call : calls) order.push_back(call["call"].GetString());
  EXPECT_EQ(order, (std::vector<std::string>{"OXSDK_GetInstance", "RegisterNotifications",
                                             "UnregisterNotifications", "OXSDK_ReleaseInstance"}));
}

TEST_F(AgentStatusTest, ProductVersionLogsTheStepsThatCarryTheOutcome) {
  Sandbox box;
  box.EnableLogging();
  ASSERT_EQ(box.Run({L"-getproductversion"}).exitCode, 0u);
  EXPECT_TRUE(ContainsInOrder(
      box.LogMessages(),
      {"Command does not need authorization", "Get product version",
       "Executing OXSDK method: Product.GetStatus", "TARN Service image path retrieved sucessfully",
       "Binary is valid", "Instance retrieved successfully", "Response error code : 0",
       "Execute WaitProcessOnProduct", "Finished executing OXSDK method",
       "OXSDK Method returned with error code: 0", "Found product version: 7.9.12.345",
       "Finished returning product version with error code: 0",
       "Finished to get product version with error code: 0"}));
}

struct FailureCase {
  const char* name;
  const wchar_t* variant;  // of oxsdk.dll; null: the signed one
  std::string scenario;    // empty: healthy
  const wchar_t* command;
  uint32_t exitCode;
  const char* logLine;  // must appear in the log
};

class AgentFailureTest : public AgentTest {
 protected:
  void Expect(const std::vector<FailureCase>& cases) {
    for (const auto& c : cases) {
      Sandbox box;
      box.EnableLogging();
      UseLibraryVariant(c.variant ? c.variant : L"timestamped");
      if (c.scenario.empty()) {
        ASSERT_EQ(sim::SelectScenario(kit_, L"healthy"), 0u);
      } else {
        UseScenario(c.scenario);
      }
      const ToolRun run = box.Run({c.command});
      EXPECT_EQ(run.exitCode, c.exitCode) << c.name;
      EXPECT_EQ(run.out, "") << c.name;
      const auto log = box.LogMessages();
      EXPECT_NE(std::find(log.begin(), log.end(), c.logLine), log.end())
          << c.name << ": no \"" << c.logLine << "\"";
    }
  }
};

TEST_F(AgentFailureTest, LibrarySignatureFailuresAreTheCommandsExitCode) {
  Expect({
      {"unsigned", L"unsigned", "", L"-getproductversion", 0x800B0100,
       "Failed to verify trust. Error code: -2146762496"},
      {"tampered", L"tampered", "", L"-getproductversion", 0x80096010,
       "Failed to verify trust. Error code: -2146869232"},
      {"untrusted root", L"untrusted", "", L"-getlastupdate", 0x800B0109,
       "Failed to verify trust. Error code: -2146762487"},
      {"no time stamp", L"untimestamped", "", L"-getproductversion", 5007,
       "There are no provider signers"},
      {"other signer", L"foreign", "", L"-getfeaturestatus", 1168,
       "Certificate subject not found"},
      {"signer name in capitals", L"capitals", "", L"-hascriticalissues", 1168,
       "Failed to validate binary. Error code : 1168"},
      {"legacy time stamp is accepted", L"legacy-timestamp",
       R"({"methods":{"Product.GetStatus":{"reply":{"error":9}}}})", L"-getproductversion", 9,
       "Binary is valid"},
  });
}

// The exchange's own failures are the unit tests' (agent/sdk_exchange_test.cc); here the library's
// answers through each of the wrapper's three codes.
TEST_F(AgentFailureTest, SessionFailuresAreTheCommandsExitCode) {
  Expect({
      {"instance refused, through the wrapper", nullptr, R"({"getInstance":-7})",
       L"-getproductversion", 4294967289u, "API failed with error code: -7"},
      {"instance refused, session code", nullptr, R"({"getInstance":-7})", L"-hascriticalissues",
       775, "Failed to get OXSDK instance. Error code : -7"},
      {"agent's error", nullptr, R"({"methods":{"Product.GetStatus":{"reply":{"error":5}}}})",
       L"-getlastupdate", 5, "Endpoint SDK failed with error code: 5"},
  });
}

TEST_F(AgentFailureTest, MissingServiceKeyMeansNoAgent) {
  ASSERT_EQ(sim::DeleteSecurityServiceKey(), 0u);
  keyDeleted_ = true;
  Expect({{"no service key", nullptr, "", L"-getproductversion", 2,
           "Failed to retrieve TARN service image path. Error code : 2"}});
  Sandbox box;
  const ToolRun run = box.Run({L"-checkifrebootrequired"});
  EXPECT_EQ(run.exitCode, 0u);  // no agent: no restart pending
  EXPECT_EQ(run.out, "0");
}

}  // namespace
}  // namespace tarn::e2e
