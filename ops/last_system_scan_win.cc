#include <windows.h>

#include "agent/file_probes.h"
#include "agent/service_probes.h"
#include "base/win_handles.h"
#include "ops/last_system_scan.h"

namespace tarn {
namespace {

/// 0 with the entries matching `pattern` in listing order; 0 with none when there is no match
/// or no such folder; otherwise the system's code.
uint32_t ListFiles(const std::wstring& pattern, std::vector<ScanLogFile>& files) {
  WIN32_FIND_DATAW data;
  const UniqueFindHandle find(FindFirstFileW(pattern.c_str(), &data));
  if (!find) {
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? 0 : error;
  }
  do {
    const uint64_t time = (static_cast<uint64_t>(data.ftLastWriteTime.dwHighDateTime) << 32) |
                          data.ftLastWriteTime.dwLowDateTime;
    files.push_back(
        {data.cFileName, time, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0});
  } while (FindNextFileW(find.get(), &data));
  const DWORD error = GetLastError();
  return error == ERROR_NO_MORE_FILES ? 0 : error;
}

}  // namespace

uint32_t GetLastSystemScan(std::string& payload, Logger* log) {
  static const ScanLogAccess access{[](std::wstring& imagePath, Logger* log) {
                                      return GetServiceImagePath(kSecurityServiceKey, imagePath,
                                                                 log);
                                    },
                                    ListFiles, ReadWholeFile};
  return GetLastSystemScan(payload, access, log);
}

}  // namespace tarn
