// The certificate file named by "-certificatePath", as integrators write it: the base64 text of
// the certificate in UTF-8, or as Windows PowerShell 5 writes text (UTF-16 LE after a byte-order
// mark), or in PEM form (that base64 between BEGIN and END lines), or both of the last two.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarn {

inline constexpr std::wstring_view kPemBegin = L"-----BEGIN CERTIFICATE-----";
inline constexpr std::wstring_view kPemEnd = L"-----END CERTIFICATE-----";

// The base64 text inside a file of the UTF-16 or the PEM form (exactly one BEGIN line, its END
// line after it); nullopt for any other file, whose UTF-8 text stands as it is read. Says
// nothing of whether that text is a certificate.
std::optional<std::wstring> UnwrapCertificateText(std::string_view fileBytes);

// Reads the whole file once. A file of the UTF-16 or the PEM form gives its base64 text when
// that text is one certificate; every other file gives its bytes as UTF-8 text, so that what
// does not hold a certificate fails its decoding exactly as before.
/// False when the file cannot be opened; `text` then untouched.
bool ReadCertificateFile(const std::wstring& path, std::wstring& text);

}  // namespace tarn
