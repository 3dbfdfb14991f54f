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

// Deletes the key with its value. Logs nothing: each caller logs the step its own way.
/// 0, or the registry's error (2 when there is no key).
[[nodiscard]] uint32_t DeleteNonceKey(Logger* log);

}  // namespace tarn
