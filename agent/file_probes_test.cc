#include "agent/file_probes.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>

#include "base/test_temp_dir.h"

namespace tarn {
namespace {

std::wstring ModulePath() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return path;
}

TEST(FileProbesTest, FileExistsOnlyForRegularFiles) {
  EXPECT_EQ(FileExists(ModulePath(), nullptr), 0u);
  EXPECT_EQ(FileExists(TempDir().path().wstring(), nullptr), 2u);  // a directory
  EXPECT_EQ(FileExists(ModulePath() + L".absent", nullptr), 2u);
  EXPECT_EQ(FileExists(L"", nullptr), 2u);
}

// This test program's resource has product version 4.3.2.1 and file version 9.8.7.6; a file
// without the resource gives the system's error and leaves the version as it was.
TEST(FileProbesTest, VersionIsTheProductVersionInItsWordOrder) {
  std::string version;
  EXPECT_EQ(GetFileVersionString(ModulePath(), version, nullptr), 0u);
  EXPECT_EQ(version, "4.3.2.1");

  const TempDir temp;
  const std::filesystem::path plain = temp.path() / "no-version.txt";
  std::ofstream(plain) << "text";
  EXPECT_NE(GetFileVersionString(plain.wstring(), version, nullptr), 0u);
  EXPECT_EQ(version, "4.3.2.1");
  EXPECT_EQ(GetFileVersionString(ModulePath() + L".absent", version, nullptr),
            static_cast<uint32_t>(ERROR_FILE_NOT_FOUND));
}

}  // namespace
}  // namespace tarn
