#include <windows.h>

#include "base/append_file.h"

namespace tarn {
namespace {

// One byte far past any data a log will hold: every writer locks it around its write.
constexpr DWORD kLockOffsetHigh = 0x40000000;  // byte 2^62
constexpr ULONGLONG kLockWaitMs = 1000;

// Waits for the writers' lock, up to kLockWaitMs; false when it is not to be had.
bool LockForAppend(HANDLE file, OVERLAPPED& at) {
  const ULONGLONG until = GetTickCount64() + kLockWaitMs;
  while (!LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &at)) {
    if (GetLastError() != ERROR_LOCK_VIOLATION || GetTickCount64() >= until) return false;
    Sleep(1);
  }
  return true;
}

}  // namespace

// FILE_APPEND_DATA without FILE_WRITE_DATA: every write goes to the end of the file. Reading is
// granted only because a byte-range lock needs it. Others may read and append to the log while it
// is open, as with the runtime's own streams.
AppendFile::AppendFile(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), FILE_APPEND_DATA | FILE_READ_DATA | SYNCHRONIZE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) handle_ = reinterpret_cast<intptr_t>(file);
}

AppendFile::~AppendFile() {
  if (is_open()) CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

// On a local volume the system finds the end and writes there in one step. Not every file system
// or redirector does (one that looks the end up and then writes at it lets two writers land on
// the same end), so writers also take turns through a lock; one that cannot get it within a
// second writes anyway.
bool AppendFile::Append(std::string_view bytes) {
  if (!is_open()) return false;
  // Callers log a failure and then read the failed call's error: logging must not change it.
  const DWORD lastError = GetLastError();
  const HANDLE file = reinterpret_cast<HANDLE>(handle_);
  OVERLAPPED at{};
  at.OffsetHigh = kLockOffsetHigh;
  const bool locked = LockForAppend(file, at);
  DWORD written = 0;
  const bool whole =
      WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
      written == bytes.size();
  if (locked) UnlockFileEx(file, 0, 1, 0, &at);
  SetLastError(lastError);
  return whole;
}

}  // namespace tarn
