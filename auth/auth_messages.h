// Decoding the two signed messages of the authorization service into plain records: the signed
// authorization message (-authToken) and the signed time message (-executionTime), both BER.
//
//   SignedAuthMessage ::= SEQUENCE { authMessage AuthMessage, signature OCTET STRING }
//   AuthMessage ::= SEQUENCE {
//     validity SEQUENCE { validFrom GeneralizedTime, validTo GeneralizedTime },
//     permissions SET OF ENUMERATED,
//     identifiers SET OF SEQUENCE { type ENUMERATED, value OCTET STRING OPTIONAL } }
//   SignedTimeMessage ::= SEQUENCE {
//     timeMessage SEQUENCE { challenge OCTET STRING, executionTime GeneralizedTime },
//     signature OCTET STRING }
//
// Tags are compared by number only. The signature covers the complete encoding of the first
// child; that is what `messageBytes` holds.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tarn {

class Logger;

// Identifier types of the authorization message.
inline constexpr uint32_t kIdentifierHardwareId = 0;
inline constexpr uint32_t kIdentifierSha256HardwareId = 1;  // lowercase hex of SHA-256

struct SignedAuthMessage {
  int64_t validFrom = 0;  // seconds, see DecodeTime
  int64_t validTo = 0;
  std::set<uint32_t> permissions;
  // Type -> values; elements of the same type merge. A type given without a value is present
  // with no values.
  std::map<uint32_t, std::set<std::string>> identifiers;
  std::vector<uint8_t> messageBytes;
  std::vector<uint8_t> signature;
};

struct SignedTimeMessage {
  std::vector<uint8_t> challenge;  // the challenge text's bytes as signed by the service
  int64_t executionTime = 0;       // seconds, see DecodeTime
  std::vector<uint8_t> messageBytes;
  std::vector<uint8_t> signature;
};

// A permission number or identifier type that is negative or does not fit in 32 bits fails with
// 18002 and "Number out of range".
/// 0, or 18000 / 18001 / 18002 / 18003 / 13 / a BER reader code; `message` untouched on failure.
[[nodiscard]] uint32_t DecodeSignedAuthMessage(SignedAuthMessage& message,
                                               const std::vector<uint8_t>& bytes, Logger* log);

/// 0, or 18000 / 18001 / 18003 / 13 / a BER reader code; `message` is untouched on failure.
[[nodiscard]] uint32_t DecodeSignedTimeMessage(SignedTimeMessage& message,
                                               const std::vector<uint8_t>& bytes, Logger* log);

// GeneralizedTime contents to seconds since 1970: the first 14 characters as YYYYMMDDhhmmss (the
// rest, such as a trailing Z, ignored; digits not validated, fields out of range carried over as
// the C runtime does) taken as UTC, by calendar arithmetic that covers every year the four digits
// can say. The C runtime's local-time conversion covers 1970 to 3000 only and gives -1 outside,
// which turned a validTo of 9999 ("never expires") into a refusal and dropped a far validFrom;
// within its range it differed from this by the zone's standard offset, the same for all three
// times of an authorization, so every comparison it could make comes out as before.
/// 0, or 13 for fewer than 14 characters (no time), `seconds` untouched.
[[nodiscard]] uint32_t DecodeTime(int64_t& seconds, const std::vector<uint8_t>& contents,
                                  Logger* log);

}  // namespace tarn
