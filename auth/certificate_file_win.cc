#include <windows.h>

// clang-format off
#include <bcrypt.h>
#include <wincrypt.h>
// clang-format on

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "auth/certificate_file.h"
#include "base/text.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

// Whether the base64 text decodes, as the gate will decode it, to one certificate.
bool IsOneCertificate(const std::wstring& text) {
  const DWORD length = static_cast<DWORD>(text.size());
  DWORD size = 0;
  if (!CryptStringToBinaryW(text.c_str(), length, CRYPT_STRING_BASE64, nullptr, &size, nullptr,
                            nullptr)) {
    return false;
  }
  std::vector<BYTE> bytes(size);
  if (!CryptStringToBinaryW(text.c_str(), length, CRYPT_STRING_BASE64, bytes.data(), &size, nullptr,
                            nullptr)) {
    return false;
  }
  const UniqueCertContext certificate(
      CertCreateCertificateContext(X509_ASN_ENCODING, bytes.data(), size));
  return static_cast<bool>(certificate);
}

}  // namespace

bool ReadCertificateFile(const std::wstring& path, std::wstring& text) {
  std::ifstream file{std::filesystem::path(path), std::ios::binary};
  if (!file.is_open()) return false;
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::optional<std::wstring> unwrapped = UnwrapCertificateText(bytes);
  text = unwrapped && IsOneCertificate(*unwrapped) ? std::move(*unwrapped) : Utf8ToWide(bytes);
  return true;
}

}  // namespace tarn
