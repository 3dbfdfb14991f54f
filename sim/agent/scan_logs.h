// The agent's scan logs: "Logs\system\<task id>\*.xml" in the agent directory, one XML file per
// scan, whose last-write time tells which scan was the latest.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace tarn::sim {

// "full" and "quick" name the two on-demand scan tasks; any other word is taken as a task id.
std::wstring ScanTaskId(const std::wstring& word);

std::filesystem::path ScanLogFolder(const std::wstring& taskId);

// A scan log whose "ScanSummary" root holds "startTime" (seconds since 1970) and "duration"
// (milliseconds). The texts are written as given, so a test can also write malformed ones.
std::string ScanSummaryXml(std::string_view startTime, std::string_view duration);

// Writes `content` to the folder of `taskId` as `fileName` and sets the file's last-write time
// to `lastWrite` (seconds since 1970, UTC). Returns a Win32 code.
[[nodiscard]] uint32_t WriteScanLog(const std::wstring& taskId, const std::wstring& fileName,
                                    std::string_view content, int64_t lastWrite);

}  // namespace tarn::sim
