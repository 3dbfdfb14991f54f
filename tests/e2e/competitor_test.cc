// Competitor assessment and removal end to end: the guarded commands with authorizations issued
// at build time, against the simulated agent's replies and product events.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <regex>

#include "base/win_handles.h"
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
constexpr char kGuid[] = "[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}";

bool Has(const std::vector<std::string>& log, const std::string& line) {
  return std::find(log.begin(), log.end(), line) != log.end();
}

// Stores the grants' nonce as the current challenge's, as "-getchallenge" would have. The gate
// deletes it again when it reads it.
void PlantNonce() {
  RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\ArvantisAuthService");
  UniqueHkey key;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\ArvantisAuthService", 0, nullptr, 0,
                            KEY_ALL_ACCESS, nullptr, key.put(), nullptr),
            ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExW(key.get(), L"nonce", 0, REG_BINARY, kGrantNonce.data(),
                           static_cast<DWORD>(kGrantNonce.size())),
            ERROR_SUCCESS);
}

class CompetitorTest : public AgentTest {
 protected:
  // Runs the command with `grant`'s authorization options after its own arguments.
  ToolRun Guarded(const Sandbox& box, std::vector<std::wstring> args, const Grant& grant) {
    PlantNonce();
    args.insert(args.end(), {L"-authToken", grant.authToken, L"-certificate", kGrantCertificate,
                             L"-executionTime", grant.executionTime});
    return box.Run(args);
  }
  const Grant& GrantFor(const std::wstring& command) {
    return command == L"-competitorsassessment" ? kAssessmentGrant : kRemovalGrant;
  }

  // The events of `method` in the scenario: "events" members, as JSON text.
  void UseEvents(const char* method, const std::string& events) {
    UseScenario(std::string(R"({"methods":{"Product.CompetitorRemoval.)") + method +
                R"(":{"reply":{"error":0},"events":)" + events + "}}}");
  }
};

TEST_F(CompetitorTest, TheThreeCommandsAnswerWithTheirLists) {
  Sandbox box;
  ToolRun run = Guarded(box, {L"-competitorsassessment"}, kAssessmentGrant);
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, kAssessed);

  run = Guarded(box, {L"-removecompetitors", L"veltrano-av-12", L"quorix-is-2024"}, kRemovalGrant);
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, kRemoved);

  run = Guarded(box, {L"-RemoveAllCompetitors"}, kRemovalGrant);
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, kRemoved);

  const auto requests = Journal("request");
  ASSERT_EQ(requests.size(), 4u);
  const std::string context = std::string(R"("runContext": \{ "otherData": ")") + kGuid +
                              R"(", "someData": ")" + kGuid + R"(" \})";
  const std::regex assessment(
      std::string(R"(\{ "type": "oxsdk", "data":\{ "Product.CompetitorRemoval":\[ \{ "@name": )"
                  R"("StartAssessment", "input": \{ )") +
      context + R"( \} \} \] \} \})");
  const std::regex removal(
      std::string(
          R"(\{ "type": "oxsdk", "data":\{ "Product.CompetitorRemoval":\[ \{ "@name": )"
          R"("StartRemoval", "input": \{ "ids":\[ "veltrano-av-12", "quorix-is-2024" \], )") +
      context + R"( \} \} \] \} \})");
  EXPECT_TRUE(std::regex_match(requests[0]["request"].GetString(), assessment))
      << requests[0]["request"].GetString();
  EXPECT_TRUE(std::regex_match(requests[1]["request"].GetString(), removal))
      << requests[1]["request"].GetString();
  // "-removeallcompetitors" removes every assessed product, also one the agent cannot remove.
  EXPECT_TRUE(std::regex_match(requests[2]["request"].GetString(), assessment));
  EXPECT_TRUE(std::regex_match(requests[3]["request"].GetString(), removal))
      << requests[3]["request"].GetString();
}

TEST_F(CompetitorTest, AnotherRunsEventIsIgnoredAndThisRunsIsTaken) {
  UseEvents("StartAssessment", R"([
      {"name":"Product.CompetitorRemoval.AssessmentEnded","delayMs":100,
       "payload":{"runContext":{"otherData":"x","someData":"y"},
                  "products":[{"id":"foreign","productName":"F","removalSupported":true}]}},
      {"name":"Product.CompetitorRemoval.AssessmentEnded","delayMs":400,
       "payload":{"runContext":"$request.input.runContext",
                  "products":[{"id":"ours","productName":"O","removalSupported":false}]}}])");
  Sandbox box;
  const ToolRun run = Guarded(box, {L"-competitorsassessment"}, kAssessmentGrant);
  EXPECT_EQ(run.exitCode, 0u);
  EXPECT_EQ(run.out, "id=ours|productName=O|removalSupported=0");
}

TEST_F(CompetitorTest, EveryMalformedEventIs3) {
  const auto event = [](const char* name, const std::string& payloadMembers) {
    return std::string(R"([{"name":"Product.CompetitorRemoval.)") + name + R"(","payload":{)" +
           R"("runContext":"$request.input.runContext",)" + payloadMembers + "}}]";
  };
  const struct {
    const char* what;
    const char* method;
    std::wstring command;
    std::string events;
  } cases[] = {
      {"not JSON", "StartAssessment", L"-competitorsassessment",
       R"([{"name":"Product.CompetitorRemoval.AssessmentEnded","rawPayload":"{\"products\":"}])"},
      {"products an object", "StartAssessment", L"-competitorsassessment",
       event("AssessmentEnded", R"("products":{})")},
      {"removalSupported missing", "StartAssessment", L"-competitorsassessment",
       event("AssessmentEnded", R"("products":[{"id":"a","productName":"A"}])")},
      {"removal status missing", "StartRemoval", L"-removecompetitors",
       event("RemovalEnded", R"("products":[{"id":"a"}])")},
      {"not found without a name", "StartRemoval", L"-removecompetitors",
       event("RemovalEnded", R"("products":[{"id":"a","status":"notFound"}])")},
  };
  for (const auto& c : cases) {
    UseEvents(c.method, c.events);
    Sandbox box;
    box.EnableLogging();
    std::vector<std::wstring> args = {c.command};
    if (c.command == L"-removecompetitors") args.push_back(L"a");
    const ToolRun run = Guarded(box, args, GrantFor(c.command));
    EXPECT_EQ(run.exitCode, 3u) << c.what;
    EXPECT_EQ(run.out, "") << c.what;
    EXPECT_TRUE(Has(box.LogMessages(), "Failed to get competitors list. Error code: 3")) << c.what;
  }
}

TEST_F(CompetitorTest, AnSdkRefusalEndsWithoutWaitingForTheEvent) {
  const struct {
    const char* what;
    std::string scenario;
    uint32_t exitCode;
    const char* line;
  } cases[] = {
      {"the agent's error",
       R"({"methods":{"Product.CompetitorRemoval.StartAssessment":{"reply":{"error":5}}}})", 5,
       "Failed to execute Product.CompetitorRemoval.StartAssessment. EndpointSdkError error "
       "code:5"},
      {"request refused", R"({"run":87})", 50,
       "Failed to execute Product.CompetitorRemoval.StartAssessment. Error code:50"},
  };
  for (const auto& c : cases) {
    UseScenario(c.scenario);
    Sandbox box;
    box.EnableLogging();
    const auto start = std::chrono::steady_clock::now();
    const ToolRun run = Guarded(box, {L"-competitorsassessment"}, kAssessmentGrant);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)) << c.what;
    EXPECT_EQ(run.exitCode, c.exitCode) << c.what;
    EXPECT_EQ(run.out, "") << c.what;
    EXPECT_TRUE(Has(box.LogMessages(), c.line)) << c.what;
  }
}

TEST_F(CompetitorTest, EachCommandNeedsItsOwnAuthorization) {
  Sandbox box;
  for (const wchar_t* command :
       {L"-competitorsassessment", L"-removecompetitors", L"-removeallcompetitors"}) {
    std::vector<std::wstring> args = {command};
    if (command == std::wstring(L"-removecompetitors")) args.push_back(L"veltrano-av-12");
    ToolRun run = box.Run(args);
    EXPECT_EQ(run.exitCode, 87u) << "no options";
    EXPECT_EQ(run.out, "");
    // Assessment is permission 19, both removals 20: each other's grant is refused.
    const Grant& wrong =
        command == std::wstring(L"-competitorsassessment") ? kRemovalGrant : kAssessmentGrant;
    run = Guarded(box, args, wrong);
    EXPECT_EQ(run.exitCode, 12u) << "the other permission";
    run = Guarded(box, args, kUninstallGrant);
    EXPECT_EQ(run.exitCode, 12u) << "the uninstall permission";
  }
  EXPECT_TRUE(Journal("request").empty());  // the agent was never asked
}

TEST_F(CompetitorTest, BadArguments) {
  Sandbox box;
  box.EnableLogging();
  EXPECT_EQ(Guarded(box, {L"-removecompetitors"}, kRemovalGrant).exitCode, 160u);
  EXPECT_EQ(Guarded(box, {L"-removeallcompetitors", L"x"}, kRemovalGrant).exitCode, 160u);
  const auto log = box.LogMessages();
  EXPECT_EQ(std::count(log.begin(), log.end(), "Bad arguments."), 2);
}

}  // namespace
}  // namespace tarn::e2e
