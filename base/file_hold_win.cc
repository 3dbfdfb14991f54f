#include <windows.h>

#include "base/file_hold.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

void CloseHeldFile(void* handle) {
  const DWORD error = GetLastError();  // a code read after the hold ends is still the caller's
  CloseHandle(static_cast<HANDLE>(handle));
  SetLastError(error);
}

}  // namespace

uint32_t HoldFileForUse(const std::wstring& path, FileHold& hold) {
  // Readers (the signature check, the loader, the process creation) may still open it.
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return LastErrorOr(ERROR_GEN_FAILURE);
  hold = FileHold(file, CloseHeldFile);
  return 0;
}

uint32_t HoldFileAgainstChanges(const std::wstring& path, FileHold& hold) {
  const uint32_t code = HoldFileForUse(path, hold);
  return IsHoldConflict(code) ? code : 0;
}

}  // namespace tarn
