// WinVerifyTrust and the WTHelper functions behind the signature check's seam.
#include <windows.h>
// clang-format off
#include <wincrypt.h>
#include <wintrust.h>
#include <softpub.h>
// clang-format on

#include "auth/module_signature.h"
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
      CertGetNameStringW(certificate, CERT_NAME_ATTR_TYPE, 0,
                         const_cast<char*>(szOID_COMMON_NAME), text, count);
      name.assign(text, count);
    }
  }
  WriteLog(log, L"Finished retrieving certificate subject");
  return name;
}

class WinTrustVerification final : public TrustVerification {
 public:
  int32_t Verify(const std::wstring& filePath) override {
    path_ = filePath;
    file_.cbStruct = sizeof file_;
    file_.pcwszFilePath = path_.c_str();
    data_.cbStruct = sizeof data_;
    data_.dwUIChoice = WTD_UI_NONE;
    data_.fdwRevocationChecks = WTD_REVOKE_WHOLECHAIN;
    data_.dwUnionChoice = WTD_CHOICE_FILE;
    data_.pFile = &file_;
    data_.dwStateAction = WTD_STATEACTION_VERIFY;
    data_.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;  // revocation from cached data only
    return WinVerifyTrust(nullptr, &action_, &data_);
  }
  bool ProviderData() override {
    provider_ = WTHelperProvDataFromStateData(data_.hWVTStateData);
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
    data_.dwStateAction = WTD_STATEACTION_CLOSE;
    WinVerifyTrust(nullptr, &action_, &data_);
    return GetLastError();
  }
  uint32_t LastError() override { return GetLastError(); }

 private:
  GUID action_ = WINTRUST_ACTION_GENERIC_VERIFY_V2;
  std::wstring path_;
  WINTRUST_FILE_INFO file_{};
  WINTRUST_DATA data_{};
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
