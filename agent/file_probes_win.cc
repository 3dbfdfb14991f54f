#include <windows.h>

#include <array>
#include <cstdio>
#include <memory>
#include <new>

#include "agent/file_probes.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

constexpr DWORD kReadChunk = 64 * 1024;

}  // namespace

uint32_t ReadWholeFile(const std::wstring& path, std::string& bytes) {
  // The agent may still be writing the file (a log of a scan under way): let it.
  const UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_READ,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return LastErrorOr(ERROR_GEN_FAILURE);
  std::string content;
  std::array<char, kReadChunk> chunk;
  try {
    for (;;) {
      DWORD read = 0;
      if (!ReadFile(file.get(), chunk.data(), kReadChunk, &read, nullptr)) {
        return LastErrorOr(ERROR_GEN_FAILURE);
      }
      if (read == 0) break;
      content.append(chunk.data(), read);
    }
  } catch (const std::bad_alloc&) {
    return kErrorNotEnoughMemory;
  }
  bytes = std::move(content);
  return 0;
}

uint32_t FileExists(const std::wstring& path, Logger* log) {
  WriteLog(log, L"Check for file existence: " + path);
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    WriteLog(log, L"File found successfully");
    return 0;
  }
  WriteLog(log, L"File not found or file is a directory");
  return kErrorFileNotFound;
}

uint32_t GetFileVersionString(const std::wstring& path, std::string& versionText, Logger* log) {
  WriteLog(log, L"Get file version info size");
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
  if (size == 0) {
    const DWORD error = GetLastError();
    WriteLog(log,
             L"Failed to retrieve file version info size. Error code: " + std::to_wstring(error));
    return error;
  }
  std::unique_ptr<BYTE[]> buffer(new (std::nothrow) BYTE[size]);
  if (!buffer) {
    WriteLog(log, L"Cannot create buffer. Not enough memory");
    return kErrorNotEnoughMemory;
  }
  WriteLog(log, L"Retrieve file info");
  if (!GetFileVersionInfoW(path.c_str(), 0, size, buffer.get())) {
    const DWORD error = GetLastError();
    WriteLog(log, L"Failed to retrieve file info. Error code: " + std::to_wstring(error));
    return error;
  }
  WriteLog(log, L"Transfer data of file info from buffer to object");
  VS_FIXEDFILEINFO* info = nullptr;
  UINT infoLength = 0;
  if (!VerQueryValueW(buffer.get(), L"\\", reinterpret_cast<void**>(&info), &infoLength) ||
      info == nullptr) {
    const DWORD error = GetLastError();
    WriteLog(log, L"Failed to transfer data of file info. Error code: " + std::to_wstring(error));
    return error;
  }
  char text[64];
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", HIWORD(info->dwProductVersionMS),
                LOWORD(info->dwProductVersionMS), HIWORD(info->dwProductVersionLS),
                LOWORD(info->dwProductVersionLS));
  versionText = text;
  WriteLog(log, L"RMM Tools version retrieved successfully. Version is: " +
                    SingleByteToWide(versionText));
  return 0;
}

}  // namespace tarn
