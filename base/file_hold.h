// Keeps a file that is about to be checked and then loaded or run from being changed in between.
// Windows only: include it from *_win.cc files.
#pragma once

#include <cstdint>
#include <string>

#include "base/win_handles.h"

namespace tarn {

// Opens `path` for reading and shares it for reading only, so that nobody may write, rename or
// delete it while `held` owns the handle.
/// ERROR_SHARING_VIOLATION or ERROR_LOCK_VIOLATION when someone else has it open for writing: the
/// caller must refuse the file then. Any other failure is 0 with `held` empty: the check that
/// follows gives its own answer.
[[nodiscard]] uint32_t HoldFileAgainstChanges(const std::wstring& path, UniqueFileHandle& held);

}  // namespace tarn
