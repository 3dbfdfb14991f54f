#include <windows.h>

// clang-format off
#include <sddl.h>
// clang-format on

#include <new>
#include <string>
#include <vector>

#include "auth/nonce_store.h"
#include "base/allocation.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

// The string form of the account's SID ("S-1-5-18" for the system account).
/// 0, or the system's error with `sid` untouched.
[[nodiscard]] uint32_t CurrentUserSid(std::wstring& sid) {
  UniqueKernelHandle token;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put())) {
    return LastErrorOr(kErrorAccessDenied);
  }
  DWORD size = 0;
  GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
  std::vector<uint8_t> user(size);
  if (size == 0 || !GetTokenInformation(token.get(), TokenUser, user.data(), size, &size)) {
    return LastErrorOr(kErrorInvalidData);
  }
  UniqueHlocal text;
  if (!ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid,
                              reinterpret_cast<LPWSTR*>(text.put()))) {
    return LastErrorOr(kErrorInvalidData);
  }
  sid = static_cast<const wchar_t*>(text.get());
  return 0;
}

// The account's mutex, created or opened; only that account may open it ("P": nothing inherited).
/// 0, or the system's error (5 when another account holds the name) with `mutex` untouched.
[[nodiscard]] uint32_t OpenNonceMutex(UniqueKernelHandle& mutex) {
  std::wstring sid;
  if (const uint32_t code = CurrentUserSid(sid)) return code;
  UniqueHlocal descriptor;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
          (L"D:P(A;;GA;;;" + sid + L")").c_str(), SDDL_REVISION_1,
          reinterpret_cast<PSECURITY_DESCRIPTOR*>(descriptor.put()), nullptr)) {
    return LastErrorOr(kErrorInvalidData);
  }
  SECURITY_ATTRIBUTES attributes{sizeof(attributes), descriptor.get(), FALSE};
  const HANDLE handle =
      CreateMutexW(&attributes, FALSE, (L"Global\\ArvantisAuthService.nonce." + sid).c_str());
  if (handle == nullptr) return LastErrorOr(kErrorAccessDenied);
  mutex.reset(handle);
  return 0;
}

}  // namespace

uint32_t NonceLock::Acquire(Logger* log, uint32_t waitMs) {
  Release();
  UniqueKernelHandle mutex;
  if (const uint32_t code = OpenNonceMutex(mutex)) {
    return LogFailure(log, L"Failed to lock nonce. Error code: ", code);
  }
  switch (WaitForSingleObject(mutex.get(), waitMs)) {
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED:  // its holder ended without letting go; the nonce is as it left it
      mutex_ = mutex.release();
      return 0;
    case WAIT_TIMEOUT:
      return LogFailure(log, L"Failed to lock nonce. Error code: ", kErrorTimeout);
    default:
      return LogFailure(log, L"Failed to lock nonce. Error code: ", LastErrorOr(kErrorInvalidData));
  }
}

void NonceLock::Release() {
  if (mutex_ == nullptr) return;
  ReleaseMutex(mutex_);
  UniqueKernelHandle closing(static_cast<HANDLE>(mutex_));
  mutex_ = nullptr;
}

uint32_t ReadNonce(std::vector<uint8_t>& nonce, Logger* log) {
  WriteLog(log, L"Allocate memory for buffer");
  std::vector<uint8_t> buffer;
  if (!TryResize(buffer, kNonceLength)) {
    WriteLog(log, L"Failed to allocate enough memory");
    return kErrorNotEnoughMemory;
  }

  WriteLog(log, L"Open registry key");
  UniqueHkey key;
  if (const LSTATUS status =
          RegOpenKeyExA(HKEY_CURRENT_USER, kNonceKeyPath, 0, KEY_READ, key.put())) {
    return LogFailure(log, L"Failed to open key registry. Error code: ", status);
  }

  WriteLog(log, L"Get key value");
  if (const LSTATUS status =
          RegQueryValueExA(key.get(), kNonceValueName, nullptr, nullptr, nullptr, nullptr)) {
    return LogFailure(log, L"Failed to read key value. Error code: ", status);
  }

  WriteLog(log, L"Copy value to buffer");
  DWORD size = static_cast<DWORD>(buffer.size());
  LSTATUS status;
  // The value may be longer than a nonce; the registry then says how much room it needs.
  while ((status = RegQueryValueExA(key.get(), kNonceValueName, nullptr, nullptr, buffer.data(),
                                    &size)) == ERROR_MORE_DATA) {
    WriteLog(log, L"Read more data");
    if (!TryResize(buffer, size)) {
      WriteLog(log, L"Failed to allocate enough memory");
      return kErrorNotEnoughMemory;
    }
  }
  if (status != 0) return LogFailure(log, L"Failed to copy value to buffer. Error code: ", status);
  buffer.resize(size);
  nonce = std::move(buffer);
  WriteLog(log, L"Registry key was read successfully");
  return 0;
}

uint32_t StoreNonce(const std::vector<uint8_t>& nonce, Logger* log) {
  WriteLog(log, L"Create registry key");
  UniqueHkey key;
  if (const LSTATUS status =
          RegCreateKeyExA(HKEY_CURRENT_USER, kNonceKeyPath, 0, nullptr, REG_OPTION_NON_VOLATILE,
                          KEY_ALL_ACCESS, nullptr, key.put(), nullptr)) {
    return LogFailure(log, L"Failed to create registry key. Error code: ", status);
  }

  WriteLog(log, L"Set value in registry");
  // For REG_SZ data whose last byte is not null, RegSetValueExA takes a null right after the
  // counted bytes for a forgotten terminator and stores it too. A non-null byte after the nonce
  // (never stored) keeps the value at the nonce's length.
  std::vector<uint8_t> data = nonce;
  data.push_back(0xFF);
  if (const LSTATUS status = RegSetValueExA(key.get(), kNonceValueName, 0, REG_SZ, data.data(),
                                            static_cast<DWORD>(nonce.size()))) {
    return LogFailure(log, L"Failed to set value in registry. Error code: ", status);
  }

  WriteLog(log, L"Create security descriptor object");
  UniqueHlocal descriptor;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorA(
          kNonceKeyAccessList, SDDL_REVISION_1,
          reinterpret_cast<PSECURITY_DESCRIPTOR*>(descriptor.put()), nullptr)) {
    // A failure without an error must still stop the store: the key would stay open to all.
    return LogFailure(log, L"Failed to create security descriptor. Error code: ",
                      LastErrorOr(kErrorInvalidData));
  }
  WriteLog(log, L"Security descriptor created successfully");

  WriteLog(log, L"Set registry key security descriptor");
  if (const LSTATUS status =
          RegSetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, descriptor.get())) {
    return LogFailure(log, L"Failed to set security descriptor: Error code: ", status);
  }
  WriteLog(log, L"Registry key security descriptor set successfully");

  WriteLog(log, L"Close registry key");
  key.reset();
  WriteLog(log, L"Registry closed successfully");
  WriteLog(log, L"Finished creating registry successfully");
  return 0;
}

uint32_t DeleteNonceKey(Logger* /*log*/) {
  return static_cast<uint32_t>(RegDeleteKeyA(HKEY_CURRENT_USER, kNonceKeyPath));
}

}  // namespace tarn
