#include "auth/auth_messages.h"

#include <utility>

#include "auth/ber_reader.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

constexpr uint8_t kTagOctetString = 4;
constexpr uint8_t kTagEnumerated = 10;
constexpr uint8_t kTagSequence = 16;
constexpr uint8_t kTagSet = 17;
constexpr uint8_t kTagGeneralizedTime = 24;

// The wrong-tag and wrong-count failures: their line, their code.
/// `code`, after its line.
[[nodiscard]] uint32_t Fail(Logger* log, const wchar_t* line, uint32_t code) {
  WriteLog(log, line);
  return code;
}

// A permission number or identifier type: a non-negative integer of at most 32 bits, big-endian
// in two's complement. From 2^31 on it takes five octets, the first a 00 that keeps the sign
// positive. A negative value, or one beyond 32 bits, would otherwise be read as some other number
// (01 00 00 00 03 as permission 3), so it is refused. `contents` is not empty.
/// 0, or 18002 after its line with `value` untouched.
[[nodiscard]] uint32_t ReadNumber(const std::vector<uint8_t>& contents, uint32_t& value,
                                  Logger* log) {
  const bool negative = (contents.front() & 0x80) != 0;
  const bool tooLong = contents.size() > 5 || (contents.size() == 5 && contents.front() != 0);
  if (negative || tooLong) return Fail(log, L"Number out of range", kErrorNumberOutOfRange);
  uint32_t number = 0;
  for (uint8_t octet : contents) number = (number << 8) | octet;
  value = number;
  return 0;
}

// Contents that must not be empty, after the step's own line ("Get node value", ...).
/// 0, the reader's code, or 18003 for empty contents.
[[nodiscard]] uint32_t GetValue(const BerNode& node, const BerStream& stream, const wchar_t* line,
                                std::vector<uint8_t>& value, Logger* log) {
  WriteLog(log, line);
  const uint32_t result = GetContents(node, stream, value);
  if (result != 0) return result;
  if (value.empty()) return Fail(log, L"Empty buffer value", kErrorEmptyValue);
  return 0;
}

// Division rounding down, so that a field below zero borrows from the unit above.
int64_t FloorDivide(int64_t value, int64_t divisor) {
  return value / divisor - ((value % divisor) < 0 ? 1 : 0);
}

// Days from 1970-01-01 to year-month-01 (month 1..12) in the Gregorian calendar extended
// backwards: an era of 400 years has 146097 days, and counting years from March puts the leap day
// at the end of the counted year.
int64_t DaysToFirstOfMonth(int64_t year, int64_t month) {
  if (month <= 2) --year;
  const int64_t era = FloorDivide(year, 400);
  const int64_t yearOfEra = year - era * 400;                    // 0..399
  const int64_t dayOfYear = (153 * ((month + 9) % 12) + 2) / 5;  // from March 1st
  const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  constexpr int64_t kEraDaysBefore1970 = 719468;  // 0000-03-01 to 1970-01-01
  return era * 146097 + dayOfEra - kEraDaysBefore1970;
}

// Calendar fields, taken as UTC, to seconds since 1970. Fields out of their range carry over as
// the C runtime's conversion carries them: the month into whole years first (month 13 is January
// of the next year, month 0 December of the year before), then day, hour, minute and second as
// plain offsets (day 0 is the last day of the previous month, hour 24 the next day's midnight).
int64_t CalendarToSeconds(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute,
                          int64_t second) {
  const int64_t years = FloorDivide(month - 1, 12);
  const int64_t days = DaysToFirstOfMonth(year + years, month - years * 12) + day - 1;
  return ((days * 24 + hour) * 60 + minute) * 60 + second;
}

/// 0, 18000, 18003, 13 or the reader's code.
[[nodiscard]] uint32_t DecodeValidityTime(const BerNode& node, const BerStream& stream,
                                          int64_t& seconds, Logger* log) {
  WriteLog(log, L"Get child tag");
  if (node.tag != kTagGeneralizedTime) return Fail(log, L"Invalid child tag", kErrorWrongTag);
  std::vector<uint8_t> value;
  const uint32_t result = GetValue(node, stream, L"Get child value", value, log);
  if (result != 0) return result;
  return DecodeTime(seconds, value, log);
}

/// As DecodeValidityTime, for either bound.
[[nodiscard]] uint32_t DecodeValidity(BerNode& validity, const BerStream& stream,
                                      SignedAuthMessage& message, Logger* log) {
  WriteLog(log, L"Decode validity");
  uint32_t result = DecodeValidityTime(validity.children[0], stream, message.validFrom, log);
  if (result != 0) return result;
  WriteLog(log, L"Get second child");
  result = DecodeValidityTime(validity.children[1], stream, message.validTo, log);
  return result;
}

/// 0, 18000, 18002, 18003 or the reader's code.
[[nodiscard]] uint32_t DecodePermissions(BerNode& permissions, BerStream& stream,
                                         SignedAuthMessage& message, Logger* log) {
  WriteLog(log, L"Decode permissions");
  uint32_t result = LoadChildren(permissions, stream, 1);
  if (result != 0) return result;
  for (const BerNode& node : permissions.children) {
    WriteLog(log, L"Check node tag");
    if (node.tag != kTagEnumerated) return Fail(log, L"Invalid node tag", kErrorWrongTag);
    std::vector<uint8_t> value;
    result = GetValue(node, stream, L"Get node value", value, log);
    if (result != 0) return result;
    WriteLog(log, L"Get permission value");
    uint32_t permission = 0;
    result = ReadNumber(value, permission, log);
    if (result != 0) return result;
    message.permissions.insert(permission);
    WriteLog(log, L"Permission inserted: " + std::to_wstring(permission));
  }
  WriteLog(log, L"Finished to decode permissions");
  return 0;
}

/// 0, 18000, 18001, 18002, 18003 or the reader's code.
[[nodiscard]] uint32_t DecodeIdentifier(BerNode& element, BerStream& stream,
                                        SignedAuthMessage& message, Logger* log) {
  WriteLog(log, L"Check node tag");
  if (element.tag != kTagSequence) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  uint32_t result = LoadChildren(element, stream, 1);
  if (result != 0) return result;

  WriteLog(log, L"Get child node");
  if (element.children.empty()) {
    return Fail(log, L"Invalid children number", kErrorWrongChildCount);
  }
  const BerNode& typeNode = element.children[0];
  WriteLog(log, L"Check child tag");
  if (typeNode.tag != kTagEnumerated) return Fail(log, L"Invalid child tag", kErrorWrongTag);
  std::vector<uint8_t> value;
  result = GetValue(typeNode, stream, L"Get node value", value, log);
  if (result != 0) return result;
  WriteLog(log, L"Get identifier type value");
  uint32_t type = 0;
  result = ReadNumber(value, type, log);
  if (result != 0) return result;
  WriteLog(log, L"Identifier type value: " + std::to_wstring(type));
  std::set<std::string>& values = message.identifiers[type];  // present even with no value

  if (element.children.size() > 1) {
    const BerNode& valueNode = element.children[1];
    WriteLog(log, L"Get identifier value");
    WriteLog(log, L"Check node tag");
    if (valueNode.tag != kTagOctetString) return Fail(log, L"Invalid node tag", kErrorWrongTag);
    result = GetValue(valueNode, stream, L"Get node value", value, log);
    if (result != 0) return result;
    WriteLog(log, L"Get value");
    std::string text(value.begin(), value.end());
    WriteLog(log, L"Identifier value inserted: " + SingleByteToWide(text));
    values.insert(std::move(text));
  }
  return 0;
}

/// As DecodeIdentifier, for the first element that fails.
[[nodiscard]] uint32_t DecodeIdentifiers(BerNode& identifiers, BerStream& stream,
                                         SignedAuthMessage& message, Logger* log) {
  WriteLog(log, L"Decode identifiers");
  uint32_t result = LoadChildren(identifiers, stream, 1);
  if (result != 0) return result;
  for (BerNode& element : identifiers.children) {
    result = DecodeIdentifier(element, stream, message, log);
    if (result != 0) return result;
  }
  WriteLog(log, L"Identifiers decoded successfully");
  return 0;
}

/// 0, 18000, 18001, 18002, 18003, 13 or the reader's code; `message` partly filled then.
[[nodiscard]] uint32_t DecodeAuthMessage(BerNode& node, BerStream& stream,
                                         SignedAuthMessage& message, Logger* log) {
  uint32_t result = LoadChildren(node, stream, 1);
  if (result != 0) return result;
  WriteLog(log, L"Get number of children");
  if (node.children.size() != 3) {
    return Fail(log, L"Invalid children number", kErrorWrongChildCount);
  }

  WriteLog(log, L"Get first child");
  BerNode& validity = node.children[0];
  if (validity.tag != kTagSequence) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  result = LoadChildren(validity, stream, 1);
  if (result != 0) return result;
  WriteLog(log, L"Get number of nodes from first child");
  if (validity.children.size() != 2) {
    return Fail(log, L"Invalid children count", kErrorWrongChildCount);
  }
  result = DecodeValidity(validity, stream, message, log);
  if (result != 0) return result;

  WriteLog(log, L"Get second child");
  BerNode& permissions = node.children[1];
  if (permissions.tag != kTagSet) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  result = DecodePermissions(permissions, stream, message, log);
  if (result != 0) return result;

  WriteLog(log, L"Get third child");
  BerNode& identifiers = node.children[2];
  if (identifiers.tag != kTagSet) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  result = DecodeIdentifiers(identifiers, stream, message, log);
  if (result != 0) return result;

  WriteLog(log, L"Auth message decoded sucessfully");
  return 0;
}

/// 0, 18000, 18003 or the reader's code.
[[nodiscard]] uint32_t DecodeSignature(const BerNode& node, const BerStream& stream,
                                       std::vector<uint8_t>& signature, Logger* log) {
  if (node.tag != kTagOctetString) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  const uint32_t result = GetValue(node, stream, L"Get node value", signature, log);
  if (result != 0) return result;
  WriteLog(log, L"Signature decoded successfully");
  return 0;
}

// The root and its direct children, as both messages start.
/// 0 or the reader's code.
[[nodiscard]] uint32_t LoadRoot(BerNode& root, BerStream& stream) {
  const uint32_t result = LoadNode(root, stream, 0);
  if (result != 0) return result;
  return LoadChildren(root, stream, 1);
}

/// 0, 18000, 18001, 13 or the reader's code; `message` partly filled then.
[[nodiscard]] uint32_t DecodeTimeMessage(BerNode& node, BerStream& stream,
                                         SignedTimeMessage& message, Logger* log) {
  if (node.tag != kTagSequence) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  uint32_t result = LoadChildren(node, stream, 1);
  if (result != 0) return result;
  if (node.children.size() != 2) {
    return Fail(log, L"Invalid number of children", kErrorWrongChildCount);
  }
  const BerNode& challenge = node.children[0];
  if (challenge.tag != kTagOctetString) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  result = GetContents(challenge, stream, message.challenge);
  if (result != 0) return result;
  const BerNode& time = node.children[1];
  if (time.tag != kTagGeneralizedTime) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  std::vector<uint8_t> value;
  result = GetContents(time, stream, value);
  if (result != 0) return result;
  result = DecodeTime(message.executionTime, value, log);
  if (result != 0) return result;
  WriteLog(log, L"Finished to decode time message successfully");
  return 0;
}

}  // namespace

uint32_t DecodeTime(int64_t& seconds, const std::vector<uint8_t>& contents, Logger* log) {
  WriteLog(log, L"Get time from byte array");
  WriteLog(log, L"Check time value");
  constexpr size_t kDigits = 14;  // YYYYMMDDhhmmss
  if (contents.size() < kDigits) {
    return Fail(log, L"Time is null. Error invalid data", kErrorInvalidData);
  }
  WriteLog(log, L"Assign time value");
  // Not validated: any octet counts as its distance from '0'; the conversion normalises.
  const auto number = [&contents](size_t first, size_t count) {
    int64_t value = 0;
    for (size_t i = first; i < first + count; ++i) value = value * 10 + (contents[i] - '0');
    return value;
  };
  seconds = CalendarToSeconds(number(0, 4), number(4, 2), number(6, 2), number(8, 2), number(10, 2),
                              number(12, 2));
  WriteLog(log, L"Time is successfully set");
  return 0;
}

uint32_t DecodeSignedAuthMessage(SignedAuthMessage& message, const std::vector<uint8_t>& bytes,
                                 Logger* log) {
  SignedAuthMessage decoded;
  BerStream stream(bytes);
  BerNode root;
  WriteLog(log, L"Load Ber Node");
  uint32_t result = LoadRoot(root, stream);
  if (result != 0) return result;
  if (root.tag != kTagSequence || root.children.size() != 2) {
    return Fail(log, L"Invalid children number", kErrorWrongChildCount);
  }
  BerNode& authMessage = root.children[0];
  if (authMessage.tag != kTagSequence) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  result = GetEncoding(authMessage, stream, decoded.messageBytes);
  if (result != 0) return LogFailure(log, L"Failed to get buffer. Error code: ", result);
  WriteLog(log, L"Decode auth message");
  // Decoded again from the signed bytes alone, so nothing decoded can come from past them: a part
  // that runs past them fails as if it ran past the end of the input.
  BerStream signedStream(decoded.messageBytes);
  BerNode signedNode;
  result = LoadNode(signedNode, signedStream, 0);
  if (result == 0) result = DecodeAuthMessage(signedNode, signedStream, decoded, log);
  if (result != 0) return result;
  result = DecodeSignature(root.children[1], stream, decoded.signature, log);
  if (result != 0) return result;
  message = std::move(decoded);
  return 0;
}

uint32_t DecodeSignedTimeMessage(SignedTimeMessage& message, const std::vector<uint8_t>& bytes,
                                 Logger* log) {
  SignedTimeMessage decoded;
  BerStream stream(bytes);
  BerNode root;
  WriteLog(log, L"Load node");
  uint32_t result = LoadRoot(root, stream);
  if (result != 0) return LogFailure(log, L"Cannot load node. Error code: ", result);
  if (root.tag != kTagSequence) return Fail(log, L"Invalid node tag", kErrorWrongTag);
  if (root.children.size() != 2) {
    return Fail(log, L"Invalid number of children", kErrorWrongChildCount);
  }
  result = GetEncoding(root.children[0], stream, decoded.messageBytes);
  if (result != 0) return LogFailure(log, L"Could not get buffer. Error code: ", result);
  WriteLog(log, L"Decode time message");
  BerStream signedStream(decoded.messageBytes);  // as for the authorization message
  BerNode signedNode;
  result = LoadNode(signedNode, signedStream, 0);
  if (result == 0) result = DecodeTimeMessage(signedNode, signedStream, decoded, log);
  if (result != 0) return LogFailure(log, L"Failed to decode time message. Error code: ", result);
  WriteLog(log, L"Decode signature");
  result = DecodeSignature(root.children[1], stream, decoded.signature, log);
  if (result != 0) return LogFailure(log, L"Failed to get decode signature. Error code: ", result);
  WriteLog(log, L"Finished to decode signed time successfully");
  message = std::move(decoded);
  return 0;
}

}  // namespace tarn
