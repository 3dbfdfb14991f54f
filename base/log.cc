#include "base/log.h"

#include <cwchar>

#include "base/text.h"

namespace tarn {
namespace {

bool BreakDownUtc(std::time_t now, std::tm& out) {
#ifdef _WIN32
  return _gmtime64_s(&out, &now) == 0;
#else
  return gmtime_r(&now, &out) != nullptr;
#endif
}

}  // namespace

Logger::Logger(const std::wstring& path) : file_(path) {}

void Logger::Write(const std::wstring& message) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!file_.is_open()) return;
  std::tm utc{};
  const bool haveTime = BreakDownUtc(std::time(nullptr), utc);
  // A failed write (disk full) is dropped like the line of a file that cannot be opened.
  (void)file_.Append(LogLineBytes(haveTime ? &utc : nullptr, message));
}

std::wstring FormatLogLine(const std::tm* utc, const std::wstring& message) {
  wchar_t stamp[160];
  std::wstring line;
  if (utc != nullptr && std::wcsftime(stamp, 160, L"%Y-%m-%d %X", utc) > 0) {
    line = stamp;
  } else {
    line = L"Cannot retrieve time!";
  }
  line += L' ';
  line += message;
  return line;
}

std::string LogLineBytes(const std::tm* utc, const std::wstring& message) {
  // The file holds single-byte text; a character that has no byte must not end the logging.
  const std::string text = WideToSingleByte(FormatLogLine(utc, message));
  std::string bytes;
  bytes.reserve(text.size() + 2);
  for (char c : text) {
    if (c == '\n') bytes += '\r';
    bytes += c;
  }
  bytes += "\r\n";
  return bytes;
}

Logger* CreateLogger(const std::wstring& programDirectory) {
  static Logger* const logger = new Logger(programDirectory + L"log.txt");  // lives to exit
  return logger;
}

void WriteLog(Logger* log, std::wstring message) {
  if (log != nullptr) log->Write(message);
}

uint32_t LogFailure(Logger* log, const wchar_t* text, uint32_t code) {
  WriteLog(log, text + std::to_wstring(code));
  return code;
}

}  // namespace tarn
