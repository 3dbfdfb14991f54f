// The two outcomes before the call that a real kv.dll cannot produce end to end: a check that
// returns 0 for a file it does not accept, and a file that passes but is no library.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>

#include "base/test_log_capture.h"
#include "base/test_temp_dir.h"
#include "ops/installation_links.h"

namespace tarn {
namespace {

uint32_t PassesCheck(bool& isValid, const std::wstring&, const std::wstring&, Logger*) {
  isValid = true;
  return 0;
}
uint32_t NotValidWithoutCode(bool& isValid, const std::wstring&, const std::wstring&, Logger*) {
  isValid = false;
  return 0;
}

TEST(InstallationLinksWinTest, StepsBeforeTheCallEndWithTheirCode) {
  const TempDir temp;
  const std::filesystem::path notALibrary = temp.path() / "not-a-library.dll";
  std::ofstream(notALibrary) << "not a library";
  const struct {
    const char* name;
    std::wstring path;
    ModuleSignatureCheck check;
    uint32_t result;
    std::vector<std::string> tail;  // the last log lines
  } cases[] = {
      {"check returns 0 for an invalid file",
       L"C:\\absent\\kv.dll",
       NotValidWithoutCode,
       1403,
       {"kv.dll is not valid"}},
      {"not a library",
       notALibrary.wstring(),
       PassesCheck,
       ERROR_BAD_EXE_FORMAT,
       {"Library not found. Loading with altered search path",
        "Library not found. Failed with error: 193"}},
  };
  for (const auto& c : cases) {
    std::string links = "stale";
    uint32_t result = 0;
    const auto log = LogOf([&](Logger* l) {
      result = GetInstallationLinks(links, c.path, {"u", "k", "p"}, c.check, l);
    });
    EXPECT_EQ(result, c.result) << c.name;
    EXPECT_EQ(links, "") << c.name;
    ASSERT_GE(log.size(), c.tail.size()) << c.name;
    EXPECT_EQ(std::vector<std::string>(log.end() - c.tail.size(), log.end()), c.tail) << c.name;
  }
}

}  // namespace
}  // namespace tarn
