// The diagnostic log: "log.txt" beside the program, appended, one time-stamped line per step.
// Off unless "configfile.txt" switches it on; every log call with a null logger does nothing.
#pragma once

#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>

#include "base/append_file.h"

namespace tarn {

class Logger {
 public:
  // Opens `path` for appending. A file that cannot be opened leaves the logger without a file:
  // its lines are then dropped and the command goes on.
  explicit Logger(const std::wstring& path);

  bool is_open() const { return file_.is_open(); }
  // Appends the line in one write, so lines of processes logging at once never break each other.
  void Write(const std::wstring& message);

 private:
  AppendFile file_;
  std::mutex mutex_;  // callbacks of the agent's threads may log too; keeps their lines in order
};

// Creates the process's single logger on the first call (directory + "log.txt"); later calls
// return the same logger whatever directory they name.
Logger* CreateLogger(const std::wstring& programDirectory);

// Writes one line: UTC time stamp, a blank, the message. Nothing when `log` is null.
void WriteLog(Logger* log, std::wstring message);

// Writes `text` followed by `code` in decimal, the shape of every failure line.
/// `code`, so that a failure is logged and returned in one step.
[[nodiscard]] uint32_t LogFailure(Logger* log, const wchar_t* text, uint32_t code);

// The text of one log line without its line end; `utc` null means the time was not available.
std::wstring FormatLogLine(const std::tm* utc, const std::wstring& message);

// The bytes of one log line as the file holds them: each character as one byte (WideToSingleByte),
// every line end, the last one and any inside the message, as CR LF (a text-mode file's form).
std::string LogLineBytes(const std::tm* utc, const std::wstring& message);

}  // namespace tarn
