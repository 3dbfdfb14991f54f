// Shared by the simulator's tests: a private temporary folder and the build tree's kit.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <filesystem>
#include <string>

#include "base/win_handles.h"
#include "sim/agent/sim_control.h"
#include "sim/agent/sim_files.h"

namespace tarn::sim::testing {

// The kit of the build tree that holds the test program.
inline Kit BuildKit() { return KitOfBuildTree(ModuleDirectory(nullptr)); }

// Starts `program` as the tool starts its children (an application path and a command line of
// the caller's making) and returns its full exit code; a failure is noted and gives UINT32_MAX.
inline uint32_t RunProgram(const std::filesystem::path& program, std::wstring commandLine) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      nullptr, &startup, &process)) {
    ADD_FAILURE() << "CreateProcessW failed: " << GetLastError();
    return UINT32_MAX;
  }
  UniqueKernelHandle processHandle(process.hProcess), threadHandle(process.hThread);
  if (WaitForSingleObject(processHandle.get(), 60000) != WAIT_OBJECT_0) {
    TerminateProcess(processHandle.get(), 1);
    ADD_FAILURE() << "the program did not end";
  }
  DWORD code = 0;
  GetExitCodeProcess(processHandle.get(), &code);
  return code;
}

class TempDir {
 public:
  TempDir() {
    static std::atomic<int> counter{0};
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    path_ = std::filesystem::path(temp) /
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
