#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>

#include "base/file_hold.h"
#include "base/test_temp_dir.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

class FileHoldTest : public ::testing::Test {
 protected:
  void SetUp() override { std::ofstream(path_) << "module"; }

  UniqueFileHandle Open(DWORD access, DWORD share) const {
    return UniqueFileHandle(CreateFileW(path_.c_str(), access, share, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
  }

  const TempDir dir_;
  const std::filesystem::path path_ = dir_.path() / "held.dll";
};

TEST_F(FileHoldTest, HeldFileCanBeReadButNotChanged) {
  FileHold held;
  ASSERT_EQ(HoldFileAgainstChanges(path_.wstring(), held), 0u);
  ASSERT_TRUE(held.held());

  EXPECT_TRUE(Open(GENERIC_READ, FILE_SHARE_READ));
  EXPECT_FALSE(Open(GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  EXPECT_FALSE(DeleteFileW(path_.c_str()));
  const std::wstring moved = path_.wstring() + L".moved";
  EXPECT_FALSE(MoveFileW(path_.c_str(), moved.c_str()));

  held.reset();
  EXPECT_TRUE(Open(GENERIC_WRITE, FILE_SHARE_READ));
}

// The refusal of a file open for writing is tested end to end (installation links).

}  // namespace
}  // namespace tarn
