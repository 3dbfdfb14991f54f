#include "base/log.h"

#include <cwchar>
#include <filesystem>

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

Logger::Logger(const std::wstring& path)
    : file_(std::filesystem::path(path), std::ios::out | std::ios::app) {}

void Logger::Write(const std::wstring& message) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!file_.is_open()) return;
  std::tm utc{};
  const bool haveTime = BreakDownUtc(std::time(nullptr), utc);
  // The file holds single-byte text; a character that has no byte must not end the logging.
  file_ << WideToSingleByte(FormatLogLine(haveTime ? &utc : nullptr, message)) << '\n';
  file_.flush();
  file_.clear();  // a failed write (disk full) must not silence the lines after it
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
