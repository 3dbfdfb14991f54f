#include "auth/certificate_file.h"

#include "base/text.h"

namespace tarn {
namespace {

constexpr std::string_view kUtf16LeMark = "\xff\xfe";

// UTF-16 LE units to wide text; unpaired surrogates become U+FFFD. Nullopt for an odd length.
std::optional<std::wstring> FromUtf16Le(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  std::u32string code;
  for (size_t i = 0; i < bytes.size(); i += 2) {
    const char32_t unit = static_cast<uint8_t>(bytes[i]) | static_cast<uint8_t>(bytes[i + 1]) << 8;
    const bool pairs = unit >= 0xdc00 && unit < 0xe000 && !code.empty() && code.back() >= 0xd800 &&
                       code.back() < 0xdc00;
    if (pairs) {
      code.back() = 0x10000 + ((code.back() - 0xd800) << 10) + (unit - 0xdc00);
    } else {
      code.push_back(unit);
    }
  }
  // Through UTF-8 (which replaces what is left of the surrogates), so that wchar_t gets UTF-16 on
  // Windows and UTF-32 elsewhere.
  std::string utf8;
  for (const char32_t c : code) AppendUtf8(utf8, c);
  return Utf8ToWide(utf8);
}

}  // namespace

std::optional<std::wstring> UnwrapCertificateText(std::string_view fileBytes) {
  const bool utf16 = fileBytes.substr(0, kUtf16LeMark.size()) == kUtf16LeMark;
  std::optional<std::wstring> text = utf16 ? FromUtf16Le(fileBytes.substr(kUtf16LeMark.size()))
                                           : std::optional<std::wstring>(Utf8ToWide(fileBytes));
  if (!text) return std::nullopt;

  const size_t begin = text->find(kPemBegin);
  if (begin == std::wstring::npos) {
    if (utf16) return text;
    return std::nullopt;
  }
  const size_t body = begin + kPemBegin.size();
  const size_t end = text->find(kPemEnd, body);
  // One certificate only: a file of several would leave open which one is meant.
  if (end == std::wstring::npos || text->find(kPemBegin, body) != std::wstring::npos) {
    return std::nullopt;
  }
  return text->substr(body, end - body);
}

}  // namespace tarn
