// Cryptographic services behind the authorization gate and the challenge: base64 decoding of the
// command-line texts, checks of the authorization service's certificate, SHA-256, signature
// verification and random bytes, all on the platform's certificate and cryptography interfaces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarn {

class Logger;

// How many bytes GenerateRandomBytes gives: the nonce of a challenge.
inline constexpr size_t kRandomByteCount = 16;

// The issuer the authorization service's certificate must name.
inline constexpr const char* kAuthorizationIssuer = "DigiCert Global G2 TLS RSA SHA256 2020 CA1";

/// 0, or the platform's error (13 when it names none); `bytes` untouched on failure.
[[nodiscard]] uint32_t DecodeBase64(std::vector<uint8_t>& bytes, const std::wstring& text,
                                    Logger* log);

// Builds the chain of the one certificate `certificateBytes` encodes, in a memory store, for the
// inline form and the file form alike (`certificatePath` and `fromFile` only name the source in
// the log): the bytes checked here are the bytes the signatures are verified with. Revocation is
// checked from the lists the machine holds, never the network. A chain is acceptable when it
// reports no trust error other than an unknown or offline revocation status.
/// 0 with the verdict in `isValid`, or the platform's error with `isValid` false.
[[nodiscard]] uint32_t ValidateCertificate(bool& isValid, const std::wstring& certificatePath,
                                           const std::vector<uint8_t>& certificateBytes,
                                           bool fromFile, Logger* log);

// Subject (simple display name) must be the build's TARN_AUTH_SERVICE_HOST, issuer
// kAuthorizationIssuer, both exactly.
/// 0 with the verdict in `isValid`, or the platform's error with `isValid` false.
[[nodiscard]] uint32_t ValidateCertificateInformation(bool& isValid,
                                                      const std::vector<uint8_t>& certificateBytes,
                                                      Logger* log);

/// 0, or the failing status; `digest` (32 bytes) untouched on failure. Logs nothing.
[[nodiscard]] uint32_t ComputeSha256(std::vector<uint8_t>& digest, const uint8_t* data,
                                     size_t length, Logger* log);

// RSA PKCS #1 v1.5 signature, by the certificate's key, of
// SHA-256(SHA-256(messageBytes) || SHA-256(certificateBytes)): the signature binds the message
// to this very certificate.
bool VerifySignature(const std::vector<uint8_t>& certificateBytes,
                     const std::vector<uint8_t>& signature,
                     const std::vector<uint8_t>& messageBytes, Logger* log);

/// 0 with 16 random bytes in `buffer`, or the failing status; `buffer` untouched on failure.
[[nodiscard]] uint32_t GenerateRandomBytes(std::vector<uint8_t>& buffer, Logger* log);

}  // namespace tarn
