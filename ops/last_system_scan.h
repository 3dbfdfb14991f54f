// The last system scan: the end time of the newest scan log the agent wrote for each of its two
// stored scan tasks, read from the XML logs under its directory.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tarn {

class Logger;

// The stored scan tasks, whose ids also name their log folders: full scan first.
inline constexpr const wchar_t* kScanTaskIds[] = {L"dcf483c4-26d0-4e6f-ba28-6a53a00adae1",
                                                  L"da29f7c8-23b1-4974-8d11-209959ac694b"};

// One entry of a log folder's listing.
struct ScanLogFile {
  std::wstring name;
  uint64_t lastWriteTime = 0;  // as the file system counts it; later is larger
  bool isDirectory = false;
};

// How the report reaches the agent's files: the system's in the tool, a table in tests.
struct ScanLogAccess {
  // The security service's image path (GetServiceImagePath).
  std::function<uint32_t(std::wstring& imagePath, Logger* log)> serviceImagePath;
  // The entries matching `pattern` (folder + "\*.xml") in the order the system lists them; 0
  // with none when the folder has no such file or does not exist.
  std::function<uint32_t(const std::wstring& pattern, std::vector<ScanLogFile>& files)> list;
  // The file's bytes (ReadWholeFile).
  std::function<uint32_t(const std::wstring& path, std::string& bytes)> read;
};

// Fills `payload` with the end times in seconds, full scan first, joined by "|"; a task without
// a log adds nothing.
/// 0, also with no log at all; the image path lookup's or the listing's code; for a newest log
/// that cannot be used, the read's code or 13 (no older log stands in for it). `payload` is
/// untouched on failure.
[[nodiscard]] uint32_t GetLastSystemScan(std::string& payload, const ScanLogAccess& access,
                                         Logger* log);
// With the system's access (ops/last_system_scan_win.cc).
[[nodiscard]] uint32_t GetLastSystemScan(std::string& payload, Logger* log);

// Reads a scan log: its "ScanSummary" root's "startTime" (seconds) and "duration"
// (milliseconds), combined into the end time in seconds.
/// 0; 13 for a log that is not XML or lacks a node (logged), 8 when memory ran out, each with
/// `endTime` untouched.
[[nodiscard]] uint32_t ReadScanEndTime(const std::string& xml, int64_t& endTime, Logger* log);

// The number at the start of `text`, as the C library's atoi reads it on Windows: leading blanks,
// a sign, decimal digits; 0 without digits; clamped to the 32-bit range.
int32_t LeadingNumber(const char* text);

}  // namespace tarn
