// Shared by the simulator's tests: a private temporary folder and the build tree's kit. (A
// stand-in program is started with the tool's own RunProcess, as the tool starts its children.)
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <filesystem>
#include <string>

#include "sim/agent/sim_control.h"
#include "sim/agent/sim_files.h"

namespace tarn::sim::testing {

// The kit of the build tree that holds the test program.
inline Kit BuildKit() { return KitOfBuildTree(ModuleDirectory(nullptr)); }

class TempDir {
 public:
  TempDir() {
    static std::atomic<int> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("sim-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(counter++));
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

}  // namespace tarn::sim::testing
