// One nonce authorizes one run, also when runs overlap: guarded runs that all present the same
// authorization race for the nonce while challenge runs replace it under them.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "tests/e2e/authorizations.h"
#include "tests/e2e/simulated_agent.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

constexpr char kAuthorized[] =
    "Finished to validate authorization successfully. Operation is authorized";

bool LogHas(const Sandbox& box, const char* message) {
  return box.ReadFile("log.txt").find(message) != std::string::npos;  // "" while there is none
}

class NonceConcurrencyTest : public AgentTest {
 protected:
  void TearDown() override {
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\ArvantisAuthService");
    AgentTest::TearDown();
  }
};

// Each round: the gates start together; once one is past its read, challenge runs replace the
// nonce. The first gate to read it is authorized, and no other: a gate that read the same nonce
// must not find a replaced one still there to delete.
TEST_F(NonceConcurrencyTest, OneNonceAuthorizesExactlyOneOfManyRuns) {
  constexpr int kRounds = 8, kGates = 16, kChallenges = 8;
  int roundsUsed = 0;  // rounds in which a gate found the planted nonce, before a challenge
  const std::vector<std::wstring> guarded = {
      L"-competitorsassessment", L"-authToken",     kAssessmentGrant.authToken,    L"-certificate",
      kGrantCertificate,         L"-executionTime", kAssessmentGrant.executionTime};
  for (int round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    PlantNonce(kGrantNonce);
    std::vector<std::unique_ptr<Sandbox>> boxes;
    std::vector<std::unique_ptr<RunningTool>> gates, challenges;
    for (int i = 0; i < kGates; ++i) boxes.push_back(std::make_unique<Sandbox>());
    for (const auto& box : boxes) gates.push_back(box->Start(guarded));

    // Once a gate is past its read, challenge runs replace the nonce under the others.
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    const auto validates = [](const auto& box) { return LogHas(*box, "Validate challenge"); };
    while (std::none_of(boxes.begin(), boxes.end(), validates) &&
           std::chrono::steady_clock::now() < limit) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    Sandbox challengeBox;
    for (int i = 0; i < kChallenges; ++i) {
      challenges.push_back(challengeBox.Start({L"-getchallenge", kAssessmentGrant.authToken}));
    }

    int authorized = 0, validated = 0;
    std::string outcomes;  // each gate's exit code, for the failure message
    for (size_t i = 0; i < gates.size(); ++i) {
      ASSERT_TRUE(gates[i]);
      const ToolRun run = gates[i]->Wait();
      outcomes += " " + std::to_string(run.exitCode);
      validated += LogHas(*boxes[i], "Challenge valid value is: 1");
      if (LogHas(*boxes[i], kAuthorized)) {
        ++authorized;
        EXPECT_EQ(run.exitCode, 0u);
      }
    }
    for (auto& challenge : challenges) {
      ASSERT_TRUE(challenge);
      EXPECT_EQ(challenge->Wait().exitCode, 0u);
    }
    // Several gates may find the planted nonce valid; one of them, and only one, is authorized.
    EXPECT_EQ(authorized, validated > 0 ? 1 : 0) << "exit codes:" << outcomes;
    roundsUsed += validated > 0;
  }
  EXPECT_GT(roundsUsed, kRounds / 2);
}

}  // namespace
}  // namespace tarn::e2e
