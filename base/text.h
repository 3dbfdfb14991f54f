// Text conversions between the tool's wide strings (paths, arguments, log messages) and its
// narrow strings (JSON, answers). wchar_t is UTF-16 on Windows and UTF-32 on Linux; both work.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

// Appends code point `c` as UTF-8; surrogates and values past U+10FFFF become U+FFFD.
void AppendUtf8(std::string& out, char32_t c);

// UTF-8 <-> wide. Malformed input becomes U+FFFD; nothing throws.
std::string WideToUtf8(std::wstring_view text);
std::wstring Utf8ToWide(std::string_view text);

// Single-byte form of a wide text, as a narrow C-locale stream writes it: characters up to
// U+00FF become that byte, anything else "?".
std::string WideToSingleByte(std::wstring_view text);

// The inverse: each byte becomes the character of the same number, as the log file gets it back.
std::wstring SingleByteToWide(std::string_view text);

// Lowercase hexadecimal, two digits per byte.
std::string ToLowerHex(const std::vector<uint8_t>& bytes);

// Where a path's file name starts. DirectoryOf: the part before the last backslash, the whole
// path when there is none. DirectoryPrefixOf: up to and including the last backslash, empty when
// there is none (the current directory), ready for a file name to be appended.
std::wstring DirectoryOf(std::wstring_view path);
std::wstring DirectoryPrefixOf(std::wstring_view path);

// Lower-cases with the runtime's wide-character lower-casing, as command words are compared.
std::wstring ToLowerWide(std::wstring_view text);
bool EqualsIgnoreCase(std::wstring_view a, std::wstring_view b);

}  // namespace tarn
