// The challenge that binds a stored nonce to one authorization text: the challenge command
// issues it, the service signs it into the signed time message, and the gate recomputes it.
//
//   challenge = lowercase hex of SHA-256(nonce || SHA-256(authorization text bytes))
//
// Both sides must agree byte for byte, so the text-to-bytes conversion and the computation live
// here once. The authorization text is base64 (ASCII), so its bytes are the same in any 8-bit form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "auth/auth_messages.h"

namespace tarn {

class Logger;

// The SHA-256 service; ComputeSha256 (auth/crypto.h) in the tool, a known-answer table in tests.
using Sha256Function = uint32_t (*)(std::vector<uint8_t>& digest, const uint8_t* data,
                                    size_t length, Logger* log);

// The nonce is kept as REG_SZ through the ANSI registry calls, which convert it through the
// system's code page and back. Raw random bytes do not survive that on double-byte or UTF-8 code
// pages; these 64 ASCII symbols do on every one. The service sees only the challenge's hash.
inline constexpr char kNonceSymbols[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// One symbol for each random byte, chosen by its low six bits: 256 is a multiple of 64, so every
// symbol is equally likely and 16 bytes give a nonce of 96 random bits.
std::vector<uint8_t> NonceSymbols(const std::vector<uint8_t>& randomBytes);

// The bytes hashed for an authorization text given on the command line: each character as one
// byte (WideToSingleByte), as the challenge command and the gate's "-authToken" both take it.
std::string AuthorizationTextBytes(const std::wstring& authorizationText);

/// 0, or the hash's code (logged); `challenge` untouched on failure.
[[nodiscard]] uint32_t ComputeChallenge(std::string& challenge, const std::vector<uint8_t>& nonce,
                                        const std::wstring& authorizationText,
                                        Sha256Function sha256, Logger* log);

// Whether the challenge signed into the time message starts with `computed`. A signed challenge
// shorter than `computed` does not match.
bool ChallengeMatches(const std::string& computed, const std::vector<uint8_t>& signedChallenge);

/// 0 with the verdict in `isValid`, or the hash's code with `isValid` false.
[[nodiscard]] uint32_t ValidateChallenge(bool& isValid, const std::vector<uint8_t>& nonce,
                                         const SignedTimeMessage& signedTime,
                                         const std::wstring& authTokenText, Sha256Function sha256,
                                         Logger* log);

// The platform's versions (auth/challenge_win.cc), with ComputeSha256 and the nonce store.

/// As above, hashing with ComputeSha256.
[[nodiscard]] uint32_t ValidateChallenge(bool& isValid, const std::vector<uint8_t>& nonce,
                                         const SignedTimeMessage& signedTime,
                                         const std::wstring& authTokenText, Logger* log);

// Issues a challenge for `data`: drops the previous nonce, stores a fresh one and answers the
// challenge for it.
/// 0, or the failing step's code; `challenge` untouched on failure.
[[nodiscard]] uint32_t GetChallenge(std::string& challenge, const std::wstring& data, Logger* log);

}  // namespace tarn
