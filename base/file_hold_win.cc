#include "base/file_hold.h"

namespace tarn {

uint32_t HoldFileAgainstChanges(const std::wstring& path, UniqueFileHandle& held) {
  held.reset(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr));
  if (held) return 0;
  const DWORD error = GetLastError();
  return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ? error : 0;
}

}  // namespace tarn
