#include <windows.h>

// clang-format off
#include <bcrypt.h>
#include <wincrypt.h>
// clang-format on

#include <algorithm>
#include <climits>
#include <new>

#include "auth/crypto.h"
#include "base/allocation.h"
#include "base/build_config.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

using UniqueCertChain =
    UniqueHandle<handle_traits::Traits<PCCERT_CHAIN_CONTEXT, nullptr, CertFreeCertificateChain>>;

DWORD Size(const std::vector<uint8_t>& bytes) { return static_cast<DWORD>(bytes.size()); }

// Revocation is checked with the lists the machine already holds (its stores and its cache), for
// every certificate but the root, and never fetched: an endpoint without network answers at once.
constexpr DWORD kRevocationFromWhatTheMachineHolds =
    CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT | CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY;
// No list at hand leaves the status unknown and offline; only that is tolerated, so a
// certificate whose issuer's list names it is refused like any other trust error.
constexpr DWORD kToleratedRevocationStatus =
    CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION;

// The certificate's subject, or its issuer with CERT_NAME_ISSUER_FLAG, as a simple display name.
/// 0, or the platform's error (13 when it names none) or 8, with `name` untouched.
[[nodiscard]] uint32_t GetSimpleName(std::string& name, PCCERT_CONTEXT certificate, DWORD flags,
                                     const wchar_t* sizeStep, const wchar_t* nameStep,
                                     Logger* log) {
  WriteLog(log, sizeStep);
  const DWORD size =
      CertGetNameStringA(certificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, flags, nullptr, nullptr, 0);
  if (size == 0) {
    const uint32_t code = LastErrorOr(kErrorInvalidData);
    return LogFailure(log, L"Could not get certificate name size. Error code: ", code);
  }
  std::string buffer;
  if (!TryResize(buffer, size)) {
    WriteLog(log, L"Not enough memory");
    return kErrorNotEnoughMemory;
  }
  WriteLog(log, nameStep);
  const DWORD written = CertGetNameStringA(certificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, flags,
                                           nullptr, buffer.data(), size);
  if (written == 0) {
    const uint32_t code = LastErrorOr(kErrorInvalidData);
    return LogFailure(log, L"Could not get certificate name. Error code: ", code);
  }
  buffer.resize(written - 1);  // the count includes the terminating null
  name = std::move(buffer);
  return 0;
}

// SHA-256 for VerifySignature's steps; logs the failure.
bool HashStep(std::vector<uint8_t>& digest, const std::vector<uint8_t>& data, Logger* log) {
  if (const uint32_t code = ComputeSha256(digest, data.data(), data.size(), log)) {
    WriteLog(log, L"Failed to compute hash. Error code: " + std::to_wstring(code));
    return false;
  }
  return true;
}

}  // namespace

uint32_t DecodeBase64(std::vector<uint8_t>& bytes, const std::wstring& text, Logger* log) {
  // Command-line texts are far below 4 GiB.
  const DWORD length = static_cast<DWORD>(text.size());
  WriteLog(log, L"Crypt string to Binary to get size of certificate data");
  DWORD size = 0;
  if (!CryptStringToBinaryW(text.c_str(), length, CRYPT_STRING_BASE64, nullptr, &size, nullptr,
                            nullptr)) {
    WriteLog(log, L"Could not crypt string to binary");
    return LastErrorOr(kErrorInvalidData);
  }
  std::vector<uint8_t> buffer;
  if (!TryResize(buffer, size)) {
    WriteLog(log, L"Not enough memory to crypt certificate");
    return kErrorNotEnoughMemory;
  }
  WriteLog(log, L"Crypt string to binary to get certificate data");
  if (!CryptStringToBinaryW(text.c_str(), length, CRYPT_STRING_BASE64, buffer.data(), &size,
                            nullptr, nullptr)) {
    WriteLog(log, L"Could not crypt string to binary");
    return LastErrorOr(kErrorInvalidData);
  }
  buffer.resize(size);
  bytes = std::move(buffer);
  WriteLog(log, L"Data retrieved successfully");
  return 0;
}

uint32_t ValidateCertificate(bool& isValid, const std::wstring& certificatePath,
                             const std::vector<uint8_t>& certificateBytes, bool fromFile,
                             Logger* log) {
  isValid = false;
  WriteLog(log, L"Validate certificate");
  // Both forms check the bytes already decoded, never the file again: a path whose content
  // changed since it was read would otherwise have one certificate pass the chain while another
  // signs the messages. The file form keeps its own lines: making the store from its bytes is
  // its "open".
  WriteLog(log, fromFile ? L"Open certificate from path: " + certificatePath
                         : std::wstring(L"Open certificate"));
  const wchar_t* const openFailure = fromFile
                                         ? L"Failed to open certificate from path. Error code: "
                                         : L"Failed to open certificate. Error code: ";
  UniqueCertStore store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
  if (!store) return LogFailure(log, openFailure, LastErrorOr(kErrorInvalidData));
  if (!fromFile) WriteLog(log, L"Add certificate data to certificate in store");
  UniqueCertContext certificate;
  if (!CertAddEncodedCertificateToStore(store.get(), X509_ASN_ENCODING, certificateBytes.data(),
                                        Size(certificateBytes), CERT_STORE_ADD_USE_EXISTING,
                                        certificate.put())) {
    const uint32_t code = LastErrorOr(kErrorInvalidData);
    return LogFailure(
        log, fromFile ? openFailure : L"Failed to add encoded certificate to store. Error code: ",
        code);
  }

  // The one certificate just added, never an enumeration: nothing else can give the verdict.
  WriteLog(log, L"Check certificates from store");
  WriteLog(log, L"Get certificate name");
  const DWORD nameSize =
      CertGetNameStringA(certificate.get(), CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, nullptr, 0);
  if (nameSize <= 1) {
    // The name only identifies the certificate; the chain alone decides.
    WriteLog(log, L"Certificate name not found");
  } else {
    std::string name;
    if (!TryResize(name, nameSize)) {
      WriteLog(log, L"Not enough memory for allocating to nameString variable");
      return kErrorNotEnoughMemory;
    }
    CertGetNameStringA(certificate.get(), CERT_NAME_SIMPLE_DISPLAY_TYPE, 0, nullptr, name.data(),
                       nameSize);
  }

  CERT_CHAIN_PARA parameters{};
  parameters.cbSize = sizeof parameters;
  UniqueCertChain chain;
  if (!CertGetCertificateChain(HCCE_CURRENT_USER, certificate.get(), nullptr, store.get(),
                               &parameters, kRevocationFromWhatTheMachineHolds, nullptr,
                               chain.put())) {
    const uint32_t code = LastErrorOr(kErrorInvalidData);
    return LogFailure(log, L"Cannot build certificate chain. Error code: ", code);
  }
  const bool verdict = (chain.get()->TrustStatus.dwErrorStatus & ~kToleratedRevocationStatus) == 0;
  WriteLog(log, L"Certificate validity: " + std::to_wstring(verdict));
  chain.reset();
  certificate.reset();

  WriteLog(log, L"Close certificate store");
  if (!CertCloseStore(store.release(), CERT_CLOSE_STORE_CHECK_FLAG)) {
    const uint32_t code = LastErrorOr(kErrorInvalidData);
    return LogFailure(log, L"Could not close certificate store. Error code: ", code);
  }
  isValid = verdict;
  WriteLog(log, L"Finished validating the certificate");
  return 0;
}

uint32_t ValidateCertificateInformation(bool& isValid, const std::vector<uint8_t>& certificateBytes,
                                        Logger* log) {
  isValid = false;
  WriteLog(log, L"Create certificate context");
  UniqueCertContext certificate(CertCreateCertificateContext(
      X509_ASN_ENCODING, certificateBytes.data(), Size(certificateBytes)));
  if (!certificate) {
    const uint32_t code = LastErrorOr(kErrorInvalidData);
    return LogFailure(log, L"Could not create certificate context. Error code: ", code);
  }

  std::string subject;
  if (const uint32_t code =
          GetSimpleName(subject, certificate.get(), 0, L"Get certificate name size",
                        L"Get certificate name", log)) {
    return code;
  }
  WriteLog(log, L"Check if certificate subject is the same as the authorized one");
  if (subject != TARN_AUTH_SERVICE_HOST) {
    WriteLog(log, L"Subjects are not the same: " + SingleByteToWide(subject));
    return 0;
  }

  std::string issuer;
  if (const uint32_t code =
          GetSimpleName(issuer, certificate.get(), CERT_NAME_ISSUER_FLAG,
                        L"Get certificate issuer name size", L"Get certificate issuer name", log)) {
    return code;
  }
  WriteLog(log, L"Check if certificate issuer is the same as the authorized one");
  if (issuer != kAuthorizationIssuer) {
    WriteLog(log, L"Issuers are not the same: " + SingleByteToWide(issuer));
    return 0;
  }

  isValid = true;
  WriteLog(log, L"Finished validating certificate information. Certificate has valid information");
  return 0;
}

uint32_t ComputeSha256(std::vector<uint8_t>& digest, const uint8_t* data, size_t length,
                       Logger* /*log*/) {
  UniqueBcryptAlgorithm algorithm;
  NTSTATUS status =
      BCryptOpenAlgorithmProvider(algorithm.put(), BCRYPT_SHA256_ALGORITHM, nullptr, 0);
  if (status != 0) return static_cast<uint32_t>(status);

  DWORD objectLength = 0;
  DWORD digestLength = 0;
  ULONG written = 0;
  status =
      BCryptGetProperty(algorithm.get(), BCRYPT_OBJECT_LENGTH,
                        reinterpret_cast<PUCHAR>(&objectLength), sizeof objectLength, &written, 0);
  if (status != 0) return static_cast<uint32_t>(status);
  status =
      BCryptGetProperty(algorithm.get(), BCRYPT_HASH_LENGTH,
                        reinterpret_cast<PUCHAR>(&digestLength), sizeof digestLength, &written, 0);
  if (status != 0) return static_cast<uint32_t>(status);

  const HANDLE heap = GetProcessHeap();
  void* object = HeapAlloc(heap, 0, objectLength);
  if (object == nullptr) return kErrorNotEnoughMemory;
  // Declared before the hash, so the hash is destroyed before the memory it lives in.
  auto freeObject = scope_exit([heap, object] {
    LastErrorKeeper keep;
    HeapFree(heap, 0, object);
  });

  UniqueBcryptHash hash;
  status = BCryptCreateHash(algorithm.get(), hash.put(), static_cast<PUCHAR>(object), objectLength,
                            nullptr, 0, 0);
  if (status != 0) return static_cast<uint32_t>(status);
  do {  // once for empty data too
    const ULONG chunk = static_cast<ULONG>(std::min<size_t>(length, ULONG_MAX));
    status = BCryptHashData(hash.get(), const_cast<PUCHAR>(data), chunk, 0);
    if (status != 0) return static_cast<uint32_t>(status);
    data += chunk;
    length -= chunk;
  } while (length > 0);

  std::vector<uint8_t> result(digestLength);
  status = BCryptFinishHash(hash.get(), result.data(), digestLength, 0);
  if (status != 0) return static_cast<uint32_t>(status);
  digest = std::move(result);
  return 0;
}

bool VerifySignature(const std::vector<uint8_t>& certificateBytes,
                     const std::vector<uint8_t>& signature,
                     const std::vector<uint8_t>& messageBytes, Logger* log) {
  WriteLog(log, L"Create certificate context");
  UniqueCertContext certificate(CertCreateCertificateContext(
      X509_ASN_ENCODING, certificateBytes.data(), Size(certificateBytes)));
  if (!certificate) {
    WriteLog(log, L"Could not create certificate context. Error code: " +
                      std::to_wstring(LastErrorOr(kErrorInvalidData)));
    return false;
  }

  WriteLog(log, L"Import public key info");
  UniqueBcryptKey key;
  if (!CryptImportPublicKeyInfoEx2(X509_ASN_ENCODING,
                                   &certificate.get()->pCertInfo->SubjectPublicKeyInfo, 0, nullptr,
                                   key.put())) {
    WriteLog(log, L"Cannot import public key info. Error code: " +
                      std::to_wstring(LastErrorOr(kErrorInvalidData)));
    return false;
  }

  WriteLog(log, L"Compute hash for auth message");
  std::vector<uint8_t> messageHash;
  if (!HashStep(messageHash, messageBytes, log)) return false;
  WriteLog(log, L"Compute hash for certificate");
  std::vector<uint8_t> certificateHash;
  if (!HashStep(certificateHash, certificateBytes, log)) return false;
  WriteLog(log, L"Compute hashes for auth message and certificate");
  std::vector<uint8_t> both = messageHash;
  both.insert(both.end(), certificateHash.begin(), certificateHash.end());
  std::vector<uint8_t> signedHash;
  if (!HashStep(signedHash, both, log)) return false;

  WriteLog(log, L"Verify signature");
  BCRYPT_PKCS1_PADDING_INFO padding{BCRYPT_SHA256_ALGORITHM};
  const NTSTATUS status = BCryptVerifySignature(
      key.get(), &padding, signedHash.data(), Size(signedHash),
      const_cast<PUCHAR>(signature.data()), Size(signature), BCRYPT_PAD_PKCS1);
  if (status != 0) {
    WriteLog(log, L"Failed to verify signature. Error code: " +
                      std::to_wstring(static_cast<uint32_t>(status)));
    return false;
  }
  WriteLog(log, L"Finished verifying signature successfully");
  return true;
}

uint32_t GenerateRandomBytes(std::vector<uint8_t>& buffer, Logger* log) {
  WriteLog(log, L"Allocate buffer memory");
  std::vector<uint8_t> bytes;
  if (!TryResize(bytes, kRandomByteCount)) {
    WriteLog(log, L"Failed to allocate memory. Not enough memory");
    return kErrorNotEnoughMemory;
  }
  WriteLog(log, L"Generate random bytes");
  const NTSTATUS status = BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()),
                                          BCRYPT_USE_SYSTEM_PREFERRED_RNG);
  if (status != 0)
    return LogFailure(log, L"Failed to generate random bytes. Error code: ",
                      static_cast<uint32_t>(status));
  buffer = std::move(bytes);
  WriteLog(log, L"Finished to generate random number successfully");
  return 0;
}

}  // namespace tarn
