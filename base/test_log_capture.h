// For tests: a logger on a file in a private folder, and the messages written to it, time stamps
// cut off.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/test_temp_dir.h"

namespace tarn {

class LogCapture {
 public:
  explicit LogCapture(const std::string& name)
      : path_(dir_.path() / (name + ".log")), logger_(std::make_unique<Logger>(path_.wstring())) {}
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  Logger* get() { return logger_.get(); }

  // The messages so far; the capture starts afresh after each call.
  std::vector<std::string> Take() {
    logger_.reset();
    std::vector<std::string> messages;
    {
      std::ifstream in(path_, std::ios::binary);
      // "YYYY-MM-DD hh:mm:ss " precedes each message, CR LF ends it.
      for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        messages.push_back(line.substr(20));
      }
    }
    std::filesystem::remove(path_);
    logger_ = std::make_unique<Logger>(path_.wstring());
    return messages;
  }

 private:
  // In this order: the logger closes its file before the folder goes.
  TempDir dir_;
  std::filesystem::path path_;
  std::unique_ptr<Logger> logger_;
};

// Whether `lines` stand in `messages` in this order, other messages between them allowed: the
// lines that carry a path's meaning, without restating every step.
inline bool ContainsInOrder(const std::vector<std::string>& messages,
                            const std::vector<std::string>& lines) {
  auto at = messages.begin();
  for (const std::string& line : lines) {
    at = std::find(at, messages.end(), line);
    if (at == messages.end()) return false;
    ++at;
  }
  return true;
}

// The log messages written while `run` ran.
inline std::vector<std::string> LogOf(const std::function<void(Logger*)>& run) {
  LogCapture capture("tarn-log-of");
  run(capture.get());
  return capture.Take();
}

}  // namespace tarn
