#include "sim/agent/config_file.h"

#include <gtest/gtest.h>

namespace tarn::sim {
namespace {

TEST(ConfigFileTest, EncodingsAreNamedByWordOrCode) {
  const struct {
    const wchar_t* word;
    ConfigEncoding encoding;
  } cases[] = {{L"none", ConfigEncoding::kNoMark},
               {L"UTF7", ConfigEncoding::kUtf7Mark},
               {L"utf8", ConfigEncoding::kUtf8Mark},
               {L"3", ConfigEncoding::kUtf16BigEndian},
               {L"utf16le", ConfigEncoding::kUtf16LittleEndian},
               {L"6", ConfigEncoding::kUtf32LittleEndian}};
  for (const auto& c : cases) {
    ConfigEncoding parsed = ConfigEncoding::kNoMark;
    EXPECT_TRUE(ParseEncoding(c.word, &parsed)) << c.word;
    EXPECT_EQ(parsed, c.encoding) << c.word;
  }
  ConfigEncoding untouched = ConfigEncoding::kUtf8Mark;
  EXPECT_FALSE(ParseEncoding(L"7", &untouched));
  EXPECT_FALSE(ParseEncoding(L"utf16", &untouched));
  EXPECT_EQ(untouched, ConfigEncoding::kUtf8Mark);
}

TEST(ConfigFileTest, JsonLeavesOutAbsentMembersAndEscapesValues) {
  EXPECT_EQ(ConfigJson({"H\"1", "C\\2", "G/3"}),
            R"({"hwid":"H\"1","custid":"C\\2","customdata":{"ComputersFolder":"G/3"}})");
  EXPECT_EQ(ConfigJson({std::nullopt, "C", std::nullopt}), R"({"custid":"C"})");
  EXPECT_EQ(ConfigJson({}), "{}");
}

}  // namespace
}  // namespace tarn::sim
