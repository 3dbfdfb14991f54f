// Runs the real tarn-rmm.exe as a child process from a private folder, as an RMM platform does,
// and reads back its full 32-bit exit code, its exact standard output and its log.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "base/test_temp_dir.h"

namespace tarn::e2e {

struct ToolRun {
  uint32_t exitCode = 0;
  std::string out;  // standard output, byte for byte
  bool operator==(const ToolRun& o) const { return exitCode == o.exitCode && out == o.out; }
};
inline void PrintTo(const ToolRun& run, std::ostream* os) {
  *os << "exit " << run.exitCode << ", out \"" << run.out << "\"";
}

// A tool that was started and not yet waited for. Ended when dropped while still running.
class RunningTool {
 public:
  ~RunningTool();
  RunningTool(const RunningTool&) = delete;
  RunningTool& operator=(const RunningTool&) = delete;

  // Reads its standard output to the end and its exit code (bounded wait).
  ToolRun Wait();

 private:
  friend class Sandbox;
  RunningTool() = default;
  void* process_ = nullptr;  // HANDLEs, kept out of this header
  void* output_ = nullptr;
};

// A fresh folder holding a copy of the tool and, unless told otherwise, a configuration file
// that switches logging on; removed again at the end of the test.
class Sandbox {
 public:
  enum class Logging { kOn, kOff };
  explicit Sandbox(Logging logging = Logging::kOn);
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  const std::filesystem::path& dir() const { return dir_.path(); }
  std::filesystem::path exe() const { return dir_.path() / "tarn-rmm.exe"; }

  // Runs the tool with `args` after the program path. argv[0] is the tool's full path unless
  // `programArg` is given; the child starts in `workingDir` (the sandbox by default).
  ToolRun Run(const std::vector<std::wstring>& args, const std::wstring& programArg = L"",
              const std::filesystem::path& workingDir = {}) const;
  // The same, without waiting for the tool to end; null when it could not be started.
  std::unique_ptr<RunningTool> Start(const std::vector<std::wstring>& args,
                                     const std::wstring& programArg = L"",
                                     const std::filesystem::path& workingDir = {}) const;

  void WriteFile(const std::string& name, const std::string& bytes) const;
  bool Exists(const std::string& name) const;
  std::string ReadFile(const std::string& name) const;
  // The messages of log.txt, in order, with their time stamps checked and cut off.
  std::vector<std::string> LogMessages() const;
  // Whether the log holds `message` as one whole message.
  bool Logged(const std::string& message) const;

 private:
  TempDir dir_;
};

// Folder of the test program itself, where the build puts the tool.
std::filesystem::path BuildDirectory();

}  // namespace tarn::e2e
