#include "agent/file_probes.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace tarn {
namespace {

std::wstring ModulePath() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return path;
}

TEST(FileProbesTest, FileExistsOnlyForRegularFiles) {
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  EXPECT_EQ(FileExists(ModulePath(), nullptr), 0u);
  EXPECT_EQ(FileExists(temp, nullptr), 2u);  // a directory
  EXPECT_EQ(FileExists(ModulePath() + L".absent", nullptr), 2u);
  EXPECT_EQ(FileExists(L"", nullptr), 2u);
}

// This test program's resource has product version 4.3.2.1 and file version 9.8.7.6; a file
// without the resource gives the system's error and leaves the version as it was.
TEST(FileProbesTest, VersionIsTheProductVersionInItsWordOrder) {
  std::string version;
  EXPECT_EQ(GetFileVersionString(ModulePath(), version, nullptr), 0u);
  EXPECT_EQ(version, "4.3.2.1");

  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  const std::wstring plain = std::wstring(temp) + L"tarn-no-version.txt";
  HANDLE file = CreateFileW(plain.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  CloseHandle(file);
  EXPECT_NE(GetFileVersionString(plain, version, nullptr), 0u);
  EXPECT_EQ(version, "4.3.2.1");
  DeleteFileW(plain.c_str());
  EXPECT_EQ(GetFileVersionString(ModulePath() + L".absent", version, nullptr),
            static_cast<uint32_t>(ERROR_FILE_NOT_FOUND));
}

}  // namespace
}  // namespace tarn
