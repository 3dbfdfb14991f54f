// Owner types for every Win32 handle kind the tool holds. Each close keeps the thread's last
// error as it was, so a code read after a failed call and its clean-up is still the call's own.
#pragma once

#include <windows.h>
// clang-format off
#include <bcrypt.h>
#include <wincrypt.h>
#include <winsvc.h>
// clang-format on

#include <cstdint>

#include "base/unique_handle.h"

namespace tarn {

class LastErrorKeeper {
 public:
  LastErrorKeeper() noexcept : error_(GetLastError()) {}
  ~LastErrorKeeper() { SetLastError(error_); }
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
  DWORD error_;
};

// The thread's last error after a failed call, or `fallback` when the call set none: a failure
// must not read as success to the caller.
[[nodiscard]] inline uint32_t LastErrorOr(uint32_t fallback) {
  const DWORD error = GetLastError();
  return error != 0 ? error : fallback;
}

namespace handle_traits {

template <typename T, T kInvalid, auto kClose>
struct Traits {
  using Type = T;
  static Type Invalid() noexcept { return kInvalid; }
  static void Close(Type value) noexcept {
    LastErrorKeeper keep;
    kClose(value);
  }
};

struct File {  // INVALID_HANDLE_VALUE is not a constant expression
  using Type = HANDLE;
  static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Type value) noexcept {
    LastErrorKeeper keep;
    CloseHandle(value);
  }
};

struct Find {  // FindFirstFileW's handle: INVALID_HANDLE_VALUE for none, closed by FindClose
  using Type = HANDLE;
  static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Type value) noexcept {
    LastErrorKeeper keep;
    FindClose(value);
  }
};

inline void CloseBcryptAlgorithm(BCRYPT_ALG_HANDLE h) { BCryptCloseAlgorithmProvider(h, 0); }
inline void CloseCertStore(HCERTSTORE h) { CertCloseStore(h, 0); }

}  // namespace handle_traits

// Process, thread, event and other kernel handles whose "none" is null.
using UniqueKernelHandle = UniqueHandle<handle_traits::Traits<HANDLE, nullptr, CloseHandle>>;
// File handles, whose "none" is INVALID_HANDLE_VALUE.
using UniqueFileHandle = UniqueHandle<handle_traits::File>;
// Folder enumerations.
using UniqueFindHandle = UniqueHandle<handle_traits::Find>;
using UniqueHkey = UniqueHandle<handle_traits::Traits<HKEY, nullptr, RegCloseKey>>;
using UniqueHmodule = UniqueHandle<handle_traits::Traits<HMODULE, nullptr, FreeLibrary>>;
using UniqueScHandle = UniqueHandle<handle_traits::Traits<SC_HANDLE, nullptr, CloseServiceHandle>>;
using UniqueHlocal = UniqueHandle<handle_traits::Traits<HLOCAL, nullptr, LocalFree>>;
using UniqueCertStore =
    UniqueHandle<handle_traits::Traits<HCERTSTORE, nullptr, handle_traits::CloseCertStore>>;
using UniqueCertContext =
    UniqueHandle<handle_traits::Traits<PCCERT_CONTEXT, nullptr, CertFreeCertificateContext>>;
using UniqueBcryptAlgorithm = UniqueHandle<
    handle_traits::Traits<BCRYPT_ALG_HANDLE, nullptr, handle_traits::CloseBcryptAlgorithm>>;
using UniqueBcryptKey =
    UniqueHandle<handle_traits::Traits<BCRYPT_KEY_HANDLE, nullptr, BCryptDestroyKey>>;
using UniqueBcryptHash =
    UniqueHandle<handle_traits::Traits<BCRYPT_HASH_HANDLE, nullptr, BCryptDestroyHash>>;

}  // namespace tarn
