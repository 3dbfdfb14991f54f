#include "sim/agent/scan_logs.h"

#include "base/text.h"
#include "base/win_handles.h"
#include "sim/agent/agent_layout.h"
#include "sim/agent/sim_files.h"

namespace tarn::sim {
namespace {

// FILETIME counts 100 ns steps from 1601; Unix time seconds from 1970.
constexpr int64_t kTicksPerSecond = 10000000;
constexpr int64_t kUnixEpochTicks = 116444736000000000;

FILETIME ToFileTime(int64_t unixSeconds) {
  const uint64_t ticks = static_cast<uint64_t>(unixSeconds * kTicksPerSecond + kUnixEpochTicks);
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace

std::wstring ScanTaskId(const std::wstring& word) {
  if (EqualsIgnoreCase(word, L"full")) return kFullScanTaskId;
  if (EqualsIgnoreCase(word, L"quick")) return kQuickScanTaskId;
  return word;
}

std::filesystem::path ScanLogFolder(const std::wstring& taskId) {
  return AgentDirectory() / L"Logs" / L"system" / taskId;
}

std::string ScanSummaryXml(std::string_view startTime, std::string_view duration) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<ScanSummary>\r\n  <startTime>" +
         std::string(startTime) + "</startTime>\r\n  <duration>" + std::string(duration) +
         "</duration>\r\n</ScanSummary>\r\n";
}

uint32_t WriteScanLog(const std::wstring& taskId, const std::wstring& fileName,
                      std::string_view content, int64_t lastWrite) {
  const std::filesystem::path path = ScanLogFolder(taskId) / fileName;
  if (uint32_t code = WriteFileBytes(path, content)) return code;
  UniqueFileHandle file(CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
  if (!file) return GetLastError();
  const FILETIME time = ToFileTime(lastWrite);
  return SetFileTime(file.get(), nullptr, nullptr, &time) ? 0 : GetLastError();
}

}  // namespace tarn::sim
