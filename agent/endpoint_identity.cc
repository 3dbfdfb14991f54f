#include "agent/endpoint_identity.h"

#include <algorithm>

#include "base/json.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

constexpr std::string_view kUtf7Mark = "+/v8-";
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16BigEndianMark = "\xFE\xFF";
constexpr std::string_view kUtf16LittleEndianMark = "\xFF\xFE";
constexpr std::string_view kUtf32BigEndianMark{"\x00\x00\xFE\xFF", 4};
constexpr std::string_view kUtf32LittleEndianMark{"\xFF\xFE\x00\x00", 4};

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// UTF-16 code units to UTF-8, joining surrogate pairs. A lone surrogate becomes U+FFFD; an odd
// byte at the end is half a unit, no character, and is dropped.
std::string Utf16ToUtf8(std::string_view bytes, bool bigEndian) {
  auto unit = [&](size_t i) -> char32_t {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    return bigEndian ? (first << 8) | second : (second << 8) | first;
  };
  std::string out;
  out.reserve(bytes.size());
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    char32_t c = unit(i);
    if (c >= 0xD800 && c <= 0xDBFF && i + 3 < bytes.size()) {
      const char32_t low = unit(i + 2);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
        i += 2;
      }
    }
    AppendUtf8(out, c);  // a lone surrogate becomes U+FFFD
  }
  return out;
}

std::string Text(const rapidjson::Value& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

// The string member `name` of `parent`, or null when it is missing or not a string.
const rapidjson::Value* StringMember(const rapidjson::Value& parent, const std::string& name) {
  const rapidjson::Value* member = Member(parent, name);
  return member != nullptr && member->IsString() ? member : nullptr;
}

}  // namespace

uint32_t ClassifyEncoding(std::string_view firstBytes) {
  // The order matters: FF FE opens both UTF-32 and UTF-16 little-endian marks.
  if (StartsWith(firstBytes, kUtf7Mark)) return kEncodingUtf7Mark;
  if (StartsWith(firstBytes, kUtf32LittleEndianMark)) return kEncodingUtf32LittleEndian;
  if (StartsWith(firstBytes, kUtf32BigEndianMark)) return kEncodingUtf32BigEndian;
  if (StartsWith(firstBytes, kUtf8Mark)) return kEncodingUtf8Mark;
  if (StartsWith(firstBytes, kUtf16BigEndianMark)) return kEncodingUtf16BigEndian;
  if (StartsWith(firstBytes, kUtf16LittleEndianMark)) return kEncodingUtf16LittleEndian;
  return kEncodingNoMark;
}

uint32_t DecodeConfigText(std::string_view bytes, uint32_t encoding, std::string& text) {
  switch (encoding) {
    case kEncodingNoMark:
    case kEncodingUtf7Mark:  // a UTF-7 mark in front of text the agent wrote as UTF-8
    case kEncodingUtf8Mark: {
      const size_t mark = encoding == kEncodingUtf7Mark   ? kUtf7Mark.size()
                          : encoding == kEncodingUtf8Mark ? kUtf8Mark.size()
                                                          : 0;
      // The round trip replaces malformed sequences, so the JSON parser sees valid UTF-8 only.
      text = WideToUtf8(Utf8ToWide(bytes.substr(std::min(mark, bytes.size()))));
      return 0;
    }
    case kEncodingUtf16BigEndian:
    case kEncodingUtf16LittleEndian:
      text = Utf16ToUtf8(bytes.substr(std::min<size_t>(2, bytes.size())),
                         encoding == kEncodingUtf16BigEndian);
      return 0;
    default:
      return kErrorUnsupportedEncoding;
  }
}

uint32_t ReadConfigText(const std::string& text, std::string* hardwareId, std::string* groupId,
                        std::string* companyId, Logger* log) {
  rapidjson::Document config;
  // Iterative: however deep the file nests, it costs no stack.
  config.Parse<rapidjson::kParseIterativeFlag>(text.c_str());
  if (config.HasParseError() || !config.IsObject()) {
    WriteLog(log, L"Invalid JSON. Configuration file has parse errors or is not an object");
    return kErrorInvalidData;
  }
  if (groupId != nullptr) {
    const rapidjson::Value* customData = ObjectMember(config, "customdata");
    if (const auto* folder = customData ? StringMember(*customData, "ComputersFolder") : nullptr) {
      *groupId = Text(*folder);
      WriteLog(log, L"Group id is: " + Utf8ToWide(*groupId));
    }
  }
  if (hardwareId != nullptr) {
    if (const rapidjson::Value* hwid = StringMember(config, "hwid")) {
      *hardwareId = Text(*hwid);
      WriteLog(log, L"Hardware id is: " + Utf8ToWide(*hardwareId));
    }
  }
  if (companyId != nullptr) {
    if (const rapidjson::Value* custid = StringMember(config, "custid")) {
      *companyId = Text(*custid);
      WriteLog(log, L"Company id is: " + Utf8ToWide(*companyId));
    }
  }
  return 0;
}

void ReadKivoroIdentity(const rapidjson::Value& output, std::string& companyId,
                        std::string& hardwareId, Logger* log) {
  WriteLog(log, L"Search for endpointId in the received response");
  if (const rapidjson::Value* endpoint = StringMember(output, "endpointID")) {
    hardwareId = Text(*endpoint);
    WriteLog(log, L"HwId found: " + Utf8ToWide(hardwareId));
  } else {
    WriteLog(log, L"HwId not found");
  }
  WriteLog(log, L"Search for companyID in the received response");
  if (const rapidjson::Value* company = StringMember(output, "companyID")) {
    companyId = Text(*company);
    WriteLog(log, L"custId found: " + Utf8ToWide(companyId));
  } else {
    WriteLog(log, L"HwId not found");  // the same words as for the hardware id, kept so
  }
}

}  // namespace tarn
