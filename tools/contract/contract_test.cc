#include "tools/contract/contract.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <fstream>
#include <map>
#include <string>

#include "base/text.h"

namespace tarn {
namespace {

// The rows of the README's summary table, by command word.
std::map<std::string, std::string> ReadmeRows() {
  std::ifstream readme(TARN_README_PATH);
  std::map<std::string, std::string> rows;
  bool inTable = false;
  for (std::string line; std::getline(readme, line);) {
    if (line.rfind("#", 0) == 0) inTable = line == "### Every command at a glance";
    if (!inTable || line.rfind("| `-", 0) != 0) continue;
    rows[line.substr(3, line.find('`', 3) - 3)] = line;
  }
  return rows;
}

TEST(CommandContractTest, ReadmeSummaryRowsAreTheCommandFacts) {
  std::map<std::string, std::string> rows = ReadmeRows();
  for (const CommandFacts& facts : kCommandFacts) {
    const std::string word = WideToUtf8(facts.word);
    EXPECT_EQ(rows[word], ReferenceRow(facts)) << "README row of " << word;
    rows.erase(word);
  }
  for (const auto& [word, row] : rows) ADD_FAILURE() << "README row of no command: " << row;
}

TEST(CommandContractTest, EveryCommandHasAnAnswerFormAndItsSuccessCodeFirst) {
  for (const CommandFacts& facts : kCommandFacts) {
    const CommandContract& contract = facts.contract;
    ASSERT_GT(contract.exitCodes.count, 0u) << WideToUtf8(facts.word);
    EXPECT_STREQ(contract.exitCodes.codes[0].code, "0") << WideToUtf8(facts.word);
    EXPECT_NE(std::string(contract.arguments), "") << WideToUtf8(facts.word);
    EXPECT_NE(std::string(contract.answer), "") << WideToUtf8(facts.word);
  }
  rapidjson::Document contract;
  ASSERT_FALSE(contract.Parse(ContractJson("1.2.3.4").c_str()).HasParseError());
  EXPECT_EQ(contract["commands"].Size(), kCommandRows);
}

}  // namespace
}  // namespace tarn
