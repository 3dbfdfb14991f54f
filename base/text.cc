#include "base/text.h"

#include <cwctype>

namespace tarn {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

}  // namespace

void AppendUtf8(std::string& out, char32_t c) {
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacement;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

namespace {

void AppendWide(std::wstring& out, char32_t c) {
  if constexpr (sizeof(wchar_t) == 2) {
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<wchar_t>(0xD800 + (c >> 10));
      out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
      return;
    }
  }
  out += static_cast<wchar_t>(c);
}

// Reads one code point from UTF-8 at text[i], advancing i; invalid sequences give U+FFFD and
// consume one byte.
char32_t NextUtf8(std::string_view text, size_t& i) {
  const auto b0 = static_cast<unsigned char>(text[i++]);
  if (b0 < 0x80) return b0;
  int extra;
  char32_t c;
  if ((b0 & 0xE0) == 0xC0) {
    extra = 1, c = b0 & 0x1F;
  } else if ((b0 & 0xF0) == 0xE0) {
    extra = 2, c = b0 & 0x0F;
  } else if ((b0 & 0xF8) == 0xF0) {
    extra = 3, c = b0 & 0x07;
  } else {
    return kReplacement;
  }
  if (i + extra > text.size()) return kReplacement;
  for (int k = 0; k < extra; ++k) {
    const auto b = static_cast<unsigned char>(text[i + k]);
    if ((b & 0xC0) != 0x80) return kReplacement;
    c = (c << 6) | (b & 0x3F);
  }
  static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
  if (c < kMin[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return kReplacement;
  i += extra;
  return c;
}

// Reads one code point from a wide text, joining UTF-16 surrogate pairs.
char32_t NextWide(std::wstring_view text, size_t& i) {
  char32_t c = static_cast<char32_t>(text[i++]);
  if constexpr (sizeof(wchar_t) == 2) {
    if (c >= 0xD800 && c <= 0xDBFF && i < text.size()) {
      const auto low = static_cast<char32_t>(text[i]);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        ++i;
        return 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
      }
    }
    if (c >= 0xD800 && c <= 0xDFFF) return kReplacement;
  }
  return c;
}

}  // namespace

std::string WideToUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) AppendUtf8(out, NextWide(text, i));
  return out;
}

std::wstring Utf8ToWide(std::string_view text) {
  std::wstring out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) AppendWide(out, NextUtf8(text, i));
  return out;
}

std::string WideToSingleByte(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (wchar_t c : text) {
    const auto u = static_cast<std::make_unsigned_t<wchar_t>>(c);
    out += u <= 0xFF ? static_cast<char>(u) : '?';
  }
  return out;
}

std::wstring SingleByteToWide(std::string_view text) {
  std::wstring out;
  out.reserve(text.size());
  for (char c : text) out += static_cast<wchar_t>(static_cast<unsigned char>(c));
  return out;
}

std::string ToLowerHex(const std::vector<uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0x0F];
  }
  return text;
}

std::wstring DirectoryOf(std::wstring_view path) {
  return std::wstring(path.substr(0, path.rfind(L'\\')));
}

std::wstring DirectoryPrefixOf(std::wstring_view path) {
  const size_t slash = path.rfind(L'\\');
  return slash == std::wstring_view::npos ? std::wstring()
                                          : std::wstring(path.substr(0, slash + 1));
}

std::wstring ToLowerWide(std::wstring_view text) {
  std::wstring out(text);
  for (wchar_t& c : out) c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
  return out;
}

bool EqualsIgnoreCase(std::wstring_view a, std::wstring_view b) {
  return a.size() == b.size() && ToLowerWide(a) == ToLowerWide(b);
}

}  // namespace tarn
