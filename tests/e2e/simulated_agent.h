// The simulated agent as the end-to-end tests use it: installed in the test prefix, its answers
// chosen per test by a scenario, its journal read back. Tests that use it share one agent, so
// ctest runs them one at a time (RESOURCE_LOCK simulated-agent).
#pragma once

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <string>
#include <vector>

#include "sim/agent/sim_control.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {

// One run of the tool, in a fresh sandbox with logging on, against the agent in a scenario.
struct AgentCase {
  std::string scenario;  // as UseScenario takes it
  std::vector<std::wstring> args;
  ToolRun expected;
  std::string logLine = "";          // must be logged, when not empty
  const wchar_t* variant = nullptr;  // of oxsdk.dll; null: the signed one
};

// Stores `nonce` as the current challenge's, as "-getchallenge" would have (REG_BINARY, so any
// bytes the grants were issued for). The gate deletes it again when it reads it.
void PlantNonce(const std::vector<uint8_t>& nonce);

class AgentTest : public ::testing::Test {
 protected:
  // Makes sure the agent is installed and running with the healthy scenario, the signed
  // library and an empty journal; undoes what the previous test changed.
  void SetUp() override;
  void TearDown() override;

  // Installs a scenario given as JSON text, or a stock one by name ("" is the healthy one).
  void UseScenario(const std::string& scenario);
  void Expect(const std::vector<AgentCase>& cases);
  // Removes the agent's service key (restored after the test): no agent is installed.
  void DeleteServiceKey();

  // The journal's lines of one kind ("request", "call", ...), parsed.
  std::vector<rapidjson::Document> Journal(const char* kind);

  sim::Kit kit_;
  bool keyDeleted_ = false;
  bool libraryReplaced_ = false;
};

}  // namespace tarn::e2e
