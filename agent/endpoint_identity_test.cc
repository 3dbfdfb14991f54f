#include "agent/endpoint_identity.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/result_codes.h"
#include "base/test_log_capture.h"

namespace tarn {
namespace {

// The bytes of a UTF-16 text, with or without the mark FE FF in the chosen byte order.
std::string Utf16Bytes(std::u16string_view text, bool bigEndian, bool mark = true) {
  std::string out;
  for (char16_t unit : mark ? u"\uFEFF" + std::u16string(text) : std::u16string(text)) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    out += bigEndian ? std::string{high, low} : std::string{low, high};
  }
  return out;
}

// Every whole mark is read in the tests below (a mark taken for another gives another text);
// here the bytes that only begin one.
TEST(EndpointIdentityTest, EncodingFollowsTheFirstBytesInTableOrder) {
  struct Case {
    std::string bytes;
    uint32_t encoding;
  } cases[] = {
      {"+/v8", kEncodingNoMark},  // an incomplete mark is text
      {std::string("\x00\x00\xFE", 3), kEncodingNoMark},
      {"\xEF\xBB", kEncodingNoMark},
      {std::string("\xFF\xFE\x00", 3), kEncodingUtf16LittleEndian},
      {std::string("\xFF\xFE{\x00", 4), kEncodingUtf16LittleEndian},
      {"", kEncodingNoMark},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ClassifyEncoding(c.bytes), c.encoding) << testing::PrintToString(c.bytes);
  }
}

TEST(EndpointIdentityTest, EveryReadableEncodingYieldsTheSameIdentity) {
  // U+00E9, U+20AC and U+1D11E: two-, three- and four-byte UTF-8, the last a UTF-16 pair.
  const std::string json =
      "{\"hwid\":\"HW-\xC3\xA9\",\"custid\":\"C-\xE2\x82\xAC\","
      "\"customdata\":{\"ComputersFolder\":\"F-\xF0\x9D\x84\x9E\"}}";
  const std::u16string json16 =
      u"{\"hwid\":\"HW-\u00E9\",\"custid\":\"C-\u20AC\","
      u"\"customdata\":{\"ComputersFolder\":\"F-\U0001D11E\"}}";
  const std::string files[] = {
      json,
      "\xEF\xBB\xBF" + json,
      "+/v8-" + json,
      Utf16Bytes(json16, true),
      Utf16Bytes(json16, false),
      "\xEF\xBB\xBF{\"hwid\":\"HW-\\u00e9\",\"custid\":\"C-\\u20AC\","  // escapes read the same
      "\"customdata\":{\"ComputersFolder\":\"F-\\ud834\\udd1e\"}}\r\n",
  };
  for (const auto& bytes : files) {
    std::string text, hardwareId, groupId, companyId;
    ASSERT_EQ(DecodeConfigText(bytes, ClassifyEncoding(bytes), text), 0u);
    ASSERT_EQ(ReadConfigText(text, &hardwareId, &groupId, &companyId, nullptr), 0u) << text;
    EXPECT_EQ(hardwareId, "HW-\xC3\xA9") << text;
    EXPECT_EQ(companyId, "C-\xE2\x82\xAC") << text;
    EXPECT_EQ(groupId, "F-\xF0\x9D\x84\x9E") << text;
  }
}

TEST(EndpointIdentityTest, Utf32IsRefusedAndMalformedTextIsReplaced) {
  struct Case {
    std::string bytes;
    uint32_t result;
    const char* text;  // "untouched": left as it was
  } cases[] = {
      {std::string("\xFF\xFE\x00\x00{\x00\x00\x00", 8), kErrorUnsupportedEncoding, "untouched"},
      {std::string("\x00\x00\xFE\xFF", 4), kErrorUnsupportedEncoding, "untouched"},
      {"\"a\xFF\x62\"", 0, "\"a\xEF\xBF\xBD\x62\""},                    // stray UTF-8 byte
      {"\xEF\xBB\xBF\"\xE2\x82\"", 0, "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},  // cut sequence
      {Utf16Bytes(u"\"\xD800\"", false), 0, "\"\xEF\xBF\xBD\""},        // lone surrogate
      {Utf16Bytes(u"\"\xDC00x\"", true), 0, "\"\xEF\xBF\xBDx\""},
      {Utf16Bytes(u"{}", true) + "\x7D", 0, "{}"},  // a half unit at the end is dropped
      {"\xFF\xFE", 0, ""},
  };
  for (const auto& c : cases) {
    std::string text = "untouched";
    EXPECT_EQ(DecodeConfigText(c.bytes, ClassifyEncoding(c.bytes), text), c.result);
    EXPECT_EQ(text, c.text);
  }
}

TEST(EndpointIdentityTest, MissingOrMistypedMembersLeaveOutputsEmpty) {
  struct Case {
    const char* json;
    uint32_t result;
    const char* hardwareId;
    const char* groupId;
    const char* companyId;
  } cases[] = {
      {R"({})", 0, "", "", ""},
      {R"({"hwid":5,"custid":null,"customdata":"G"})", 0, "", "", ""},
      {R"({"customdata":{"ComputersFolder":["G"]},"ComputersFolder":"G"})", 0, "", "", ""},
      {R"({"HWID":"H","custid":"C"})", 0, "", "", "C"},  // names match exactly
      {R"(["H"])", kErrorInvalidData, "", "", ""},
      {R"({"hwid":"H")", kErrorInvalidData, "", "", ""},
      {"", kErrorInvalidData, "", "", ""},
  };
  for (const auto& c : cases) {
    std::string hardwareId, groupId, companyId;
    EXPECT_EQ(ReadConfigText(c.json, &hardwareId, &groupId, &companyId, nullptr), c.result)
        << c.json;
    EXPECT_EQ(hardwareId, c.hardwareId) << c.json;
    EXPECT_EQ(groupId, c.groupId) << c.json;
    EXPECT_EQ(companyId, c.companyId) << c.json;
  }
}

TEST(EndpointIdentityTest, KivoroReplyWalk) {
  struct Case {
    const char* output;
    const char* hardwareId;
    const char* companyId;
    const char* hardwareLine;
    const char* companyLine;  // a missing company id is logged as the hardware id's line
  } cases[] = {
      {R"({"endpointID":"E-1","companyID":"C-1"})", "E-1", "C-1", "HwId found: E-1",
       "custId found: C-1"},
      {R"({"endpointID":"E-1"})", "E-1", "", "HwId found: E-1", "HwId not found"},
      {R"({"endpointId":"E-1","companyID":7})", "", "", "HwId not found", "HwId not found"},
  };
  for (const auto& c : cases) {
    rapidjson::Document output;
    output.Parse(c.output);
    std::string hardwareId, companyId;
    EXPECT_TRUE(ContainsInOrder(
        LogOf([&](Logger* log) { ReadKivoroIdentity(output, companyId, hardwareId, log); }),
        {c.hardwareLine, c.companyLine}))
        << c.output;
    EXPECT_EQ(hardwareId, c.hardwareId) << c.output;
    EXPECT_EQ(companyId, c.companyId) << c.output;
  }
}

}  // namespace
}  // namespace tarn
