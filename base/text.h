// Text conversions between the tool's wide strings (paths, arguments, log messages) and its
// narrow strings (JSON, answers). wchar_t is UTF-16 on Windows and UTF-32 on Linux; both work.
#pragma once

#include <string>
#include <string_view>

namespace tarn {

// Appends code point `c` as UTF-8; surrogates and values past U+10FFFF become U+FFFD.
void AppendUtf8(std::string& out, char32_t c);

// UTF-8 <-> wide. Malformed input becomes U+FFFD; nothing throws.
std::string WideToUtf8(std::wstring_view text);
std::wstring Utf8ToWide(std::string_view text);

// Single-byte form of a wide text, as a narrow C-locale stream writes it: characters up to
// U+00FF become that byte, anything else "?".
std::string WideToSingleByte(std::wstring_view text);

// Lower-cases with the runtime's wide-character lower-casing, as command words are compared.
std::wstring ToLowerWide(std::wstring_view text);
bool EqualsIgnoreCase(std::wstring_view a, std::wstring_view b);

}  // namespace tarn
