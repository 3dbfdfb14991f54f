// The simulated agent as the end-to-end tests use it: installed in the test prefix, its answers
// chosen per test by a scenario, its journal read back. Tests that use it share one agent, so
// ctest runs them one at a time (RESOURCE_LOCK simulated-agent).
#pragma once

#include <rapidjson/document.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sim/agent/sim_control.h"

namespace tarn::e2e {

class AgentTest : public ::testing::Test {
 protected:
  // Makes sure the agent is installed and running with the healthy scenario, the signed
  // library and an empty journal; undoes what the previous test changed.
  void SetUp() override;
  void TearDown() override;

  // Installs a scenario given as JSON text.
  void UseScenario(const std::string& json);
  // A scenario whose "Product.GetStatus" answers with `output` (JSON text of the object).
  void UseStatusOutput(const std::string& output);
  // Puts a signed variant of oxsdk.dll in place ("timestamped", "unsigned", ...).
  void UseLibraryVariant(const wchar_t* variant);

  // The journal's lines of one kind ("request", "call", ...), parsed.
  std::vector<rapidjson::Document> Journal(const char* kind);

  sim::Kit kit_;
  bool keyDeleted_ = false;
  bool libraryReplaced_ = false;
};

}  // namespace tarn::e2e
