#include "base/command_facts.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <set>
#include <string>

#include "base/text.h"

namespace tarn {
namespace {

TEST(CommandFactsTest, EveryRowIsFoundByItsWordInAnyCase) {
  std::set<std::wstring> words;
  for (const CommandFacts& facts : kCommandFacts) {
    const std::wstring word = facts.word;
    EXPECT_TRUE(words.insert(word).second) << "twice: " << WideToUtf8(word);
    EXPECT_EQ(FindCommandFacts(word), &facts);
    std::wstring upper = word;
    for (wchar_t& c : upper) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
    EXPECT_EQ(FindCommandFacts(upper), &facts);
    EXPECT_NE(facts.start[0], nullptr) << WideToUtf8(word);
    // The common pattern logs the bad-arguments line of a count it refuses.
    if (facts.argumentRule == ArgumentRule::kExactly ||
        facts.argumentRule == ArgumentRule::kAtLeast) {
      EXPECT_NE(facts.badArguments, nullptr) << WideToUtf8(word);
    }
  }
  for (const wchar_t* other : {L"", L"-", L"getversion", L"-getversion ", L"-addfeatures"}) {
    EXPECT_EQ(FindCommandFacts(other), nullptr) << WideToUtf8(other);
  }
}

}  // namespace
}  // namespace tarn
