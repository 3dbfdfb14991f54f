// WinVerifyTrust and the WTHelper functions behind the signature check's seam.
#include <windows.h>
// clang-format off
#include <wincrypt.h>
#include <wintrust.h>
#include <softpub.h>
// clang-format on

#include <optional>

#include "auth/module_signature.h"
#include "auth/trust_request_win.h"
#include "base/log.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

// The subject's common name (OID 2.5.4.3), counting its terminating null.
std::wstring GetCertificateCommonName(PCCERT_CONTEXT certificate, Logger* log) {
  WriteLog(log, L"Get certificate name");
  std::wstring name;
  const DWORD count = CertGetNameStringW(certificate, CERT_NAME_ATTR_TYPE, 0,
                                         const_cast<char*>(szOID_COMMON_NAME), nullptr, 0);
  if (count != 0) {
    WriteLog(log, L"Subject found");
    UniqueHlocal buffer(LocalAlloc(0, count * sizeof(wchar_t)));
    if (buffer) {
      auto* text = static_cast<wchar_t*>(buffer.get());
      CertGetNameStringW(certificate, CERT_NAME_ATTR_TYPE, 0, const_cast<char*>(szOID_COMMON_NAME),
                         text, count);
      name.assign(text, count);
    }
  }
  WriteLog(log, L"Finished retrieving certificate subject");
  return name;
}

class WinTrustVerification final : public TrustVerification {
 public:
  int32_t Verify(const std::wstring& filePath) override {
    request_.emplace(filePath);
    return request_->Verify();
  }
  bool ProviderData() override {
    provider_ = WTHelperProvDataFromStateData(request_->state());
    return provider_ != nullptr;
  }
  bool PrimarySigner() override {
    signer_ = WTHelperGetProvSignerFromChain(provider_, 0, FALSE, 0);
    return signer_ != nullptr;
  }
  uint32_t CounterSignerCount() override { return signer_->csCounterSigners; }
  bool CounterSignerIsTimestamp(uint32_t index) override {
    const CRYPT_PROVIDER_SGNR* counter = WTHelperGetProvSignerFromChain(provider_, 0, TRUE, index);
    return counter != nullptr && counter->dwSignerType == SGNR_TYPE_TIMESTAMP;
  }
  bool SigningCertificate() override {
    certificate_ = WTHelperGetProvCertFromChain(signer_, 0);
    return certificate_ != nullptr;
  }
  std::wstring SigningCertificateCommonName(Logger* log) override {
    return GetCertificateCommonName(certificate_->pCert, log);
  }
  uint32_t Close() override {
    request_->Close();
    return GetLastError();
  }
  uint32_t LastError() override { return GetLastError(); }

 private:
  std::optional<TrustRequest> request_;
  CRYPT_PROVIDER_DATA* provider_ = nullptr;
  CRYPT_PROVIDER_SGNR* signer_ = nullptr;
  CRYPT_PROVIDER_CERT* certificate_ = nullptr;
};

}  // namespace

uint32_t ValidateModuleSignature(bool& isValid, const std::wstring& filePath,
                                 const std::wstring& expectedSubject, Logger* log) {
  WinTrustVerification trust;
  return ValidateModuleSignature(trust, isValid, filePath, expectedSubject, log);
}

}  // namespace tarn
