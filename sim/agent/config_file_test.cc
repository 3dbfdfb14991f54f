#include "sim/agent/config_file.h"

#include <gtest/gtest.h>

namespace tarn::sim {
namespace {

TEST(ConfigFileTest, EachEncodingGivesItsMarkAndCodeUnits) {
  const std::string text = "a\xC3\xA9\xF0\x9F\x98\x80";  // "a", U+00E9, U+1F600
  const struct {
    ConfigEncoding encoding;
    std::string bytes;
  } cases[] = {
      {ConfigEncoding::kNoMark, text},
      {ConfigEncoding::kUtf7Mark, "+/v8-" + text},
      {ConfigEncoding::kUtf8Mark, "\xEF\xBB\xBF" + text},
      {ConfigEncoding::kUtf16BigEndian,
       std::string("\xFE\xFF\x00\x61\x00\xE9\xD8\x3D\xDE\x00", 10)},
      {ConfigEncoding::kUtf16LittleEndian,
       std::string("\xFF\xFE\x61\x00\xE9\x00\x3D\xD8\x00\xDE", 10)},
      {ConfigEncoding::kUtf32BigEndian,
       std::string("\x00\x00\xFE\xFF\x00\x00\x00\x61\x00\x00\x00\xE9\x00\x01\xF6\x00", 16)},
      {ConfigEncoding::kUtf32LittleEndian,
       std::string("\xFF\xFE\x00\x00\x61\x00\x00\x00\xE9\x00\x00\x00\x00\xF6\x01\x00", 16)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(EncodeText(text, c.encoding), c.bytes) << static_cast<int>(c.encoding);
  }
}

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
