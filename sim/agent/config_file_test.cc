#include "sim/agent/config_file.h"

#include <gtest/gtest.h>

namespace tarn::sim {
namespace {

TEST(ConfigFileTest, JsonLeavesOutAbsentMembersAndEscapesValues) {
  EXPECT_EQ(ConfigJson({"H\"1", "C\\2", "G/3"}),
            R"({"hwid":"H\"1","custid":"C\\2","customdata":{"ComputersFolder":"G/3"}})");
  EXPECT_EQ(ConfigJson({std::nullopt, "C", std::nullopt}), R"({"custid":"C"})");
  EXPECT_EQ(ConfigJson({}), "{}");
}

}  // namespace
}  // namespace tarn::sim
