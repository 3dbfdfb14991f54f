// A maker's module is checked for its signature and then loaded or started. In between, nobody
// may write, replace or delete the file: the file that was checked is the file that is used.
// FileHold keeps the file open without write or delete sharing for as long as it lives.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace tarn {

class FileHold {
 public:
  using Release = void (*)(void* handle);

  FileHold() noexcept = default;
  FileHold(void* handle, Release release) noexcept : handle_(handle), release_(release) {}
  FileHold(FileHold&& other) noexcept
      : handle_(std::exchange(other.handle_, nullptr)),
        release_(std::exchange(other.release_, nullptr)) {}
  FileHold& operator=(FileHold&& other) noexcept {
    if (this != &other) {
      reset();
      handle_ = std::exchange(other.handle_, nullptr);
      release_ = std::exchange(other.release_, nullptr);
    }
    return *this;
  }
  FileHold(const FileHold&) = delete;
  FileHold& operator=(const FileHold&) = delete;
  ~FileHold() { reset(); }

  bool held() const noexcept { return release_ != nullptr; }

  // Ends the hold; the file may be changed again.
  void reset() noexcept {
    if (release_ != nullptr) std::exchange(release_, nullptr)(std::exchange(handle_, nullptr));
  }

 private:
  void* handle_ = nullptr;
  Release release_ = nullptr;
};

// Win32 codes of an open refused because someone else has the file open in a conflicting way.
inline constexpr uint32_t kErrorSharingViolation = 32;
inline constexpr uint32_t kErrorLockViolation = 33;

// True when a hold failed because another process has the file open for writing or deleting:
// the file may be changing under the check, so it must not be used.
inline bool IsHoldConflict(uint32_t code) {
  return code == kErrorSharingViolation || code == kErrorLockViolation;
}

// Opens `path` for reading, sharing it with readers only (Windows, file_hold_win.cc).
/// Returns 0 or the open's Win32 code; `hold` is untouched on failure.
[[nodiscard]] uint32_t HoldFileForUse(const std::wstring& path, FileHold& hold);

// The hold every verified module takes from before its signature check until it is loaded or
// started (Windows, file_hold_win.cc). Only a conflict refuses the file: any other failure (a
// missing file, say) leaves `hold` empty and lets the check that follows give its own answer.
/// Returns 0, or the sharing or lock violation that refuses the file.
[[nodiscard]] uint32_t HoldFileAgainstChanges(const std::wstring& path, FileHold& hold);

}  // namespace tarn
