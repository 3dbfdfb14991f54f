#include "base/log.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "base/test_temp_dir.h"

namespace tarn {
namespace {

TEST(LogTest, LineIsUtcStampBlankMessage) {
  std::tm t{};
  t.tm_year = 2026 - 1900;
  t.tm_mon = 10;
  t.tm_mday = 3;
  t.tm_hour = 7;
  t.tm_min = 5;
  t.tm_sec = 9;
  EXPECT_EQ(FormatLogLine(nullptr, L"Open service"), L"Cannot retrieve time! Open service");

  // The bytes a text-mode file would hold: one byte a character, CR LF for every line end.
  const struct {
    const wchar_t* message;
    std::string bytes;
  } cases[] = {
      {L"Get product version", "2026-11-03 07:05:09 Get product version\r\n"},
      {L"caf\u00e9 \u20ac \u65e5", "2026-11-03 07:05:09 caf\xe9 ? ?\r\n"},
      {L"reply:\n{}\r\n", "2026-11-03 07:05:09 reply:\r\n{}\r\r\n\r\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(LogLineBytes(&t, c.message), c.bytes);
}

// The line's bytes are the test above's; here the file is appended to, never truncated, and one
// that cannot be opened drops its lines. (A null logger is what most unit tests write to.)
TEST(LogTest, LinesAppendAcrossLoggersAndAnUnopenableFileDropsThem) {
  const TempDir temp;
  const auto dir = temp.path();
  std::filesystem::create_directories(dir / "dir.txt");  // a directory where a file should be
  for (const wchar_t* run : {L"first run", L"second run"})
    Logger((dir / "log.txt").wstring()).Write(run);
  Logger unopenable((dir / "dir.txt").wstring());
  EXPECT_FALSE(unopenable.is_open());
  unopenable.Write(L"dropped");
  std::stringstream text;
  text << std::ifstream(dir / "log.txt", std::ios::binary).rdbuf();
  const std::regex expected(
      "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d first run\r\n"
      "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d second run\r\n");
  EXPECT_TRUE(std::regex_match(text.str(), expected)) << text.str();
}

}  // namespace
}  // namespace tarn
