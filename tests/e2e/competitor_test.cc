// Competitor assessment and removal end to end: the guarded commands with authorizations issued
// at build time, against the simulated agent's replies and product events.
#include <gtest/gtest.h>
#include <windows.h>

#include "tests/e2e/authorizations.h"
#include "tests/e2e/simulated_agent.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

constexpr char kAssessed[] =
    "id=veltrano-av-12|productName=Veltrano Antivirus 12|removalSupported=1||"
    "id=quorix-is-2024|productName=Quorix Internet Security|removalSupported=0";
constexpr char kRemoved[] =
    "id=veltrano-av-12|productName=|status=removed||"
    "id=quorix-is-2024|productName=Quorix Internet Security|status=notFound";

// A scenario in which `method` replies and sends `events` ("events" members, as JSON text).
std::string Events(const char* method, const std::string& events) {
  return std::string(R"({"methods":{"Product.CompetitorRemoval.)") + method +
         R"(":{"reply":{"error":0},"events":)" + events + "}}}";
}

class CompetitorTest : public AgentTest {
 protected:
  // Runs the command with `grant`'s authorization options after its own arguments.
  ToolRun Guarded(const Sandbox& box, std::vector<std::wstring> args, const Grant& grant) {
    PlantNonce(kGrantNonce);
    args.insert(args.end(), {L"-authToken", grant.authToken, L"-certificate", kGrantCertificate,
                             L"-executionTime", grant.executionTime});
    return box.Run(args);
  }
  const Grant& GrantFor(const std::wstring& command) {
    return command == L"-competitorsassessment" ? kAssessmentGrant : kRemovalGrant;
  }
};

TEST_F(CompetitorTest, TheThreeCommandsAnswerWithTheirLists) {
  Sandbox box;
  EXPECT_EQ(Guarded(box, {L"-competitorsassessment"}, kAssessmentGrant), (ToolRun{0, kAssessed}));
  EXPECT_EQ(
      Guarded(box, {L"-removecompetitors", L"veltrano-av-12", L"quorix-is-2024"}, kRemovalGrant),
      (ToolRun{0, kRemoved}));
  EXPECT_EQ(Guarded(box, {L"-RemoveAllCompetitors"}, kRemovalGrant), (ToolRun{0, kRemoved}));

  // The request texts are the unit test's (ops/competitors_test.cc). "-removeallcompetitors"
  // removes every assessed product, also one the agent cannot remove.
  const auto requests = Journal("request");
  ASSERT_EQ(requests.size(), 4u);
  EXPECT_NE(std::string(requests[3]["request"].GetString())
                .find(R"("ids":[ "veltrano-av-12", "quorix-is-2024" ])"),
            std::string::npos)
      << requests[3]["request"].GetString();
}

// Each kind of malformed report is the unit test's (agent/event_payloads_test.cc); here one
// report of each command's kind ends the command with 3. An SDK refusal ends it without waiting
// for the event.
TEST_F(CompetitorTest, RefusalsAndMalformedReportsEndTheCommandWithTheirCode) {
  const std::string listFailed = "Failed to get competitors list. Error code: 3";
  const struct {
    const char* what;
    const wchar_t* command;
    std::string scenario;
    uint32_t exitCode;
    std::string line;
  } cases[] = {
      {"not JSON", L"-competitorsassessment",
       Events("StartAssessment", R"([{"name":"Product.CompetitorRemoval.AssessmentEnded",)"
                                 R"("rawPayload":"{\"products\":"}])"),
       3, listFailed},
      {"removal status missing", L"-removecompetitors",
       Events("StartRemoval",
              R"([{"name":"Product.CompetitorRemoval.RemovalEnded","payload":{)"
              R"("runContext":"$request.input.runContext","products":[{"id":"a"}]}}])"),
       3, listFailed},
      {"the agent's error", L"-competitorsassessment",
       R"({"methods":{"Product.CompetitorRemoval.StartAssessment":{"reply":{"error":5}}}})", 5,
       "Failed to execute Product.CompetitorRemoval.StartAssessment. EndpointSdkError error "
       "code:5"},
      {"request refused", L"-competitorsassessment", R"({"run":87})", 50,
       "Failed to execute Product.CompetitorRemoval.StartAssessment. Error code:50"},
  };
  for (const auto& c : cases) {
    UseScenario(c.scenario);
    Sandbox box;
    std::vector<std::wstring> args = {c.command};
    if (args[0] == L"-removecompetitors") args.push_back(L"a");
    // A run that waited for the event would pass the runner's limit and fail here.
    EXPECT_EQ(Guarded(box, args, GrantFor(c.command)), (ToolRun{c.exitCode, ""})) << c.what;
    EXPECT_TRUE(box.Logged(c.line)) << c.what;
  }
}

// The gate's own refusals are the authorization end-to-end test's; here each command's permission.
TEST_F(CompetitorTest, EachCommandNeedsItsOwnAuthorizationAndArguments) {
  Sandbox box;
  for (const wchar_t* command :
       {L"-competitorsassessment", L"-removecompetitors", L"-removeallcompetitors"}) {
    std::vector<std::wstring> args = {command};
    if (command == std::wstring(L"-removecompetitors")) args.push_back(L"veltrano-av-12");
    EXPECT_EQ(box.Run(args), (ToolRun{87, ""})) << "no options";
    // Assessment is permission 19, both removals 20: each other's grant is refused.
    const Grant& wrong = &GrantFor(command) == &kRemovalGrant ? kAssessmentGrant : kRemovalGrant;
    EXPECT_EQ(Guarded(box, args, wrong).exitCode, 12u) << "the other permission";
  }
  EXPECT_TRUE(Journal("request").empty());  // the agent was never asked

  EXPECT_EQ(Guarded(box, {L"-removecompetitors"}, kRemovalGrant), (ToolRun{160, ""}));
  EXPECT_EQ(box.LogMessages().back(), "Bad arguments.");
  EXPECT_EQ(Guarded(box, {L"-removeallcompetitors", L"x"}, kRemovalGrant), (ToolRun{160, ""}));
  EXPECT_EQ(box.LogMessages().back(), "Bad arguments.");
}

}  // namespace
}  // namespace tarn::e2e
