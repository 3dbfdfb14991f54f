// tsrev.dll: the revocation provider of the test prefix. Windows' provider looks for a time-valid
// revocation list of the issuer in the machine's "CA" store before any cache or network, which
// is how an offline machine learns of a revoked certificate; Wine's cryptnet.dll never looks
// there. This provider does, and leaves everything else to cryptnet.dll: a certificate listed in
// such a list is revoked (CRYPT_E_REVOKED), one not listed is good, and without a list cryptnet
// answers as before (for a leaf without network: offline, or no check possible).
// `testbed.sh prefix` registers it as the only default provider of X509_ASN_ENCODING.
#include <windows.h>
// clang-format off
#include <wincrypt.h>
// clang-format on

namespace {

using VerifyRevocation = BOOL(WINAPI*)(DWORD, DWORD, DWORD, PVOID[], DWORD, PCERT_REVOCATION_PARA,
                                       PCERT_REVOCATION_STATUS);

// 1: listed as revoked, 0: a time-valid list of the issuer does not list it, -1: no such list.
int StatusFromCaStore(PCCERT_CONTEXT cert, PCCERT_CONTEXT issuer, DWORD& reason) {
  HCERTSTORE store =
      CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0,
                    CERT_SYSTEM_STORE_LOCAL_MACHINE | CERT_STORE_READONLY_FLAG, L"CA");
  if (store == nullptr) return -1;
  int status = -1;
  PCCRL_CONTEXT crl = nullptr;
  while (status != 1 &&
         (crl = CertFindCRLInStore(store, X509_ASN_ENCODING, CRL_FIND_ISSUED_BY_SIGNATURE_FLAG,
                                   CRL_FIND_ISSUED_BY, issuer, crl)) != nullptr) {
    if (CertVerifyCRLTimeValidity(nullptr, crl->pCrlInfo) != 0) continue;
    PCRL_ENTRY entry = nullptr;
    if (!CertFindCertificateInCRL(cert, crl, 0, nullptr, &entry)) continue;
    status = entry != nullptr ? 1 : 0;
    reason = CRL_REASON_UNSPECIFIED;
  }
  if (crl != nullptr) CertFreeCRLContext(crl);
  CertCloseStore(store, 0);
  return status;
}

}  // namespace

extern "C" __declspec(dllexport) BOOL WINAPI
    CertDllVerifyRevocation(DWORD encoding, DWORD type, DWORD count, PVOID contexts[], DWORD flags,
                            PCERT_REVOCATION_PARA para, PCERT_REVOCATION_STATUS status) {
  const bool hasIssuer =
      para != nullptr &&
      para->cbSize >= offsetof(CERT_REVOCATION_PARA, pIssuerCert) + sizeof para->pIssuerCert &&
      para->pIssuerCert != nullptr;
  if (type == CERT_CONTEXT_REVOCATION_TYPE && count == 1 && hasIssuer && status != nullptr) {
    DWORD reason = 0;
    switch (
        StatusFromCaStore(static_cast<PCCERT_CONTEXT>(contexts[0]), para->pIssuerCert, reason)) {
      case 1:
        status->dwIndex = 0;
        status->dwError = static_cast<DWORD>(CRYPT_E_REVOKED);
        status->dwReason = reason;
        SetLastError(static_cast<DWORD>(CRYPT_E_REVOKED));
        return FALSE;
      case 0:
        status->dwIndex = 0;
        status->dwError = 0;
        return TRUE;
      default:
        break;
    }
  }
  static const HMODULE module = LoadLibraryW(L"cryptnet.dll");
  static const VerifyRevocation cryptnet =
      module == nullptr ? nullptr
                        : reinterpret_cast<VerifyRevocation>(reinterpret_cast<void*>(
                              GetProcAddress(module, "CertDllVerifyRevocation")));
  if (cryptnet == nullptr) {
    SetLastError(static_cast<DWORD>(CRYPT_E_NO_REVOCATION_CHECK));
    return FALSE;
  }
  return cryptnet(encoding, type, count, contexts, flags, para, status);
}
