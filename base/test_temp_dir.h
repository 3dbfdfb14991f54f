// For tests: a private folder under the system's temporary folder, removed with all it holds.
#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace tarn {

class TempDir {
 public:
  // Unique per folder: every build tree of the checkout may run its tests at the same time.
  TempDir()
      : path_(std::filesystem::temp_directory_path() /
              ("tarn-test-" + std::to_string(std::random_device{}()))) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace tarn
