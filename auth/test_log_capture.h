// For tests: a logger on a private file, and the messages written to it, time stamps cut off.
#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "app/log.h"

namespace tarn {

class LogCapture {
 public:
  explicit LogCapture(const std::string& name)
      : path_(std::filesystem::temp_directory_path() / (name + ".log")) {
    std::filesystem::remove(path_);
    logger_ = std::make_unique<Logger>(path_.wstring());
  }
  ~LogCapture() {
    logger_.reset();
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  Logger* get() { return logger_.get(); }

  // The messages so far; the capture starts afresh after each call.
  std::vector<std::string> Take() {
    logger_.reset();
    std::vector<std::string> messages;
    {
      std::ifstream in(path_);
      // "YYYY-MM-DD hh:mm:ss " precedes each message.
      for (std::string line; std::getline(in, line);) messages.push_back(line.substr(20));
    }
    std::filesystem::remove(path_);
    logger_ = std::make_unique<Logger>(path_.wstring());
    return messages;
  }

 private:
  std::filesystem::path path_;
  std::unique_ptr<Logger> logger_;
};

}  // namespace tarn
