#include "base/text.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

TEST(TextTest, Utf8RoundTripsAcrossPlanes) {
  const std::wstring samples[] = {L"", L"plain", L"Caf\u00e9", L"\u20ac100", L"\U0001F600x"};
  for (const auto& s : samples) EXPECT_EQ(Utf8ToWide(WideToUtf8(s)), s);
  EXPECT_EQ(WideToUtf8(L"\u20ac"), "\xE2\x82\xAC");
  EXPECT_EQ(WideToUtf8(L"\U0001F600"), "\xF0\x9F\x98\x80");
}

TEST(TextTest, MalformedUtf8BecomesReplacementWithoutLosingTheRest) {
  struct Case {
    std::string in;
    std::wstring out;
  } cases[] = {
      {"a\xFF" "b", L"a\uFFFDb"},
      {"\xE2\x82", L"\uFFFD\uFFFD"},      // truncated sequence
      {"\xC0\xAF", L"\uFFFD\uFFFD"},      // overlong "/"
      {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},  // encoded surrogate
  };
  for (const auto& c : cases) EXPECT_EQ(Utf8ToWide(c.in), c.out) << c.in;
}

TEST(TextTest, CaseInsensitiveComparisonOfOptionWords) {
  EXPECT_TRUE(EqualsIgnoreCase(L"-CERTIFICATEPATH", L"-certificatepath"));
  EXPECT_TRUE(EqualsIgnoreCase(L"-InstallerXml", L"-installerxml"));
  EXPECT_FALSE(EqualsIgnoreCase(L"-installerXm", L"-installerxml"));
  EXPECT_EQ(ToLowerWide(L"-AuthToken"), L"-authtoken");
}

TEST(TextTest, DirectoryOfAPathWithAndWithoutItsBackslash) {
  EXPECT_EQ(DirectoryOf(L"C:\\Agent\\svc.exe -k"), L"C:\\Agent");
  EXPECT_EQ(DirectoryOf(L"svc.exe"), L"svc.exe");  // no backslash: the whole path
  EXPECT_EQ(DirectoryPrefixOf(L"C:\\Tools\\tarn-rmm.exe"), L"C:\\Tools\\");
  EXPECT_EQ(DirectoryPrefixOf(L"tarn-rmm.exe"), L"");  // the current directory
}

}  // namespace
}  // namespace tarn
