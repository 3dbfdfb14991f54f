// The nonce of the current challenge, kept in the current user's registry between the challenge
// command and the authorization that uses it, under a key only administrators may fully use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn {

class Logger;

// Under HKEY_CURRENT_USER, in the default registry view.
inline constexpr const char* kNonceKeyPath = "Software\\ArvantisAuthService";
// REG_SZ by type, yet it holds the nonce's raw bytes: no text encoding, no terminating null.
inline constexpr const char* kNonceValueName = "nonce";
// Guests and anonymous users denied everything, authenticated users denied writing,
// administrators allowed everything; inherited by sub-keys.
inline constexpr const char* kNonceKeyAccessList =
    "D:(D;OICI;KA;;;BG)(D;OICI;KA;;;AN)(D;OICI;KW;;;AU)(A;OICI;KA;;;BA)";
inline constexpr size_t kNonceLength = 16;

/// 0, or the registry's error (8 when memory runs out); `nonce` untouched on failure.
[[nodiscard]] uint32_t ReadNonce(std::vector<uint8_t>& nonce, Logger* log);

// Creates the key (or opens it), writes the value, then restricts the key's access list.
/// 0, or the failing call's error.
[[nodiscard]] uint32_t StoreNonce(const std::vector<uint8_t>& nonce, Logger* log);

// How long a run waits for another run's hold on the nonce. A holder keeps it for a few registry
// calls and two hashes, milliseconds, so this is far beyond any queue of runs a platform starts at
// once; and it is bounded, so a holder that hangs (suspended, debugged) refuses later runs with
// 1460 instead of hanging them too.
inline constexpr uint32_t kNonceLockWaitMs = 10000;

// Makes reading, comparing and deleting the nonce, and replacing it with a new one, one step for
// every other run of the same account: two runs cannot both spend one nonce, nor a new challenge
// come in between. A named mutex per account (the nonce lives in that account's registry) in the
// global namespace, so runs in other sessions wait too, that only the account itself may open.
// A run that ends while holding it (killed) leaves it to the next run, which goes on.
class NonceLock {
 public:
  NonceLock() = default;
  ~NonceLock() { Release(); }
  NonceLock(const NonceLock&) = delete;
  NonceLock& operator=(const NonceLock&) = delete;

  /// 0 once held, 1460 when `waitMs` ran out, or the system's error; holds nothing on failure.
  [[nodiscard]] uint32_t Acquire(Logger* log, uint32_t waitMs = kNonceLockWaitMs);
  // Lets the next run in; nothing when not held.
  void Release();

 private:
  void* mutex_ = nullptr;  // HANDLE, kept out of this header
};

// Deletes the key with its value. Logs nothing: each caller logs the step its own way.
/// 0, or the registry's error (2 when there is no key).
[[nodiscard]] uint32_t DeleteNonceKey(Logger* log);

}  // namespace tarn
