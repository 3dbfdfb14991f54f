// tsprov.dll: trust-provider steps that make Wine 8.0's WinVerifyTrust answer as Windows does for
// Authenticode files (WINTRUST_ACTION_GENERIC_VERIFY_V2). For test prefixes only; it changes
// what WinVerifyTrust answers, so it never goes near a real machine.
//
// Wine differs from Windows in three ways that a signature check sees, all fixed here:
//  - it never reports time-stamp counter-signers (CRYPT_PROVIDER_SGNR::csCounterSigners is 0);
//  - its SoftpubAuthenticode skips the Authenticode chain policy for a SHA-256-signed leaf (it
//    reads CERT_SIGNATURE_HASH_PROP_ID into a 20-byte buffer), so an untrusted root passes;
//  - it never checks revocation, whatever fdwRevocationChecks asks for.
// `testbed.sh prefix` registers three steps of the action under
//   HKLM\Software\Microsoft\Cryptography\Providers\Trust\<Step>\{00AAC56B-CD44-11D0-8CC2-00C04FC295EE}
// ("$DLL", "$Function"); every other step stays Wine's own:
//   Signature    TsprovLoadSignature: Wine's SoftpubLoadSignature, then for each signer one
//                counter-signer (SGNR_TYPE_TIMESTAMP) per time stamp, legacy PKCS #9
//                counterSignature or RFC 3161 token, with the TSA's chain and dwError (0 when
//                verified). A verified time stamp becomes the signer's verify time, as on Windows.
//   FinalPolicy  TsprovFinalPolicy: SoftpubAuthenticode, then the Authenticode chain policy on
//                each signer's chain (e.g. CERT_E_UNTRUSTEDROOT), then with WTD_REVOKE_WHOLECHAIN
//                the revocation of that chain but its root (CERT_E_REVOKED), then
//                TRUST_E_TIME_STAMP when a time-stamp counter-signer carries an error.
//   Cleanup      TsprovCleanup: frees the counter-signers, then SoftpubCleanup.
// Wine's pfnAddSgnr2Chain and pfnAddCert2Chain refuse counter-signers, so they are appended here
// with the provider's pfnAlloc and freed with its pfnFree. Not covered: the revocation of a TSA's
// chain (the Windows default policy ignores it), TSA keys other than RSA, the Disallowed store for
// SHA-256 leaves.
// TSPROV_TRACE=1 in the environment traces each decision to stderr.
#include <windows.h>
// clang-format off
#include <bcrypt.h>
#include <softpub.h>
#include <wincrypt.h>
#include <wintrust.h>
// clang-format on

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using StepFunction = HRESULT(WINAPI*)(CRYPT_PROVIDER_DATA*);
constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;

bool Tracing() {
  static const bool on = [] {
    const char* value = std::getenv("TSPROV_TRACE");
    return value && *value && *value != '0';
  }();
  return on;
}

[[gnu::format(printf, 1, 2)]] void Trace(const char* format, ...) {
  if (!Tracing()) return;
  std::fputs("tsprov: ", stderr);
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  std::fflush(stderr);
}

// One owner per handle kind, so that no path leaks one.
template <typename T, auto kClose>
class Owner {
 public:
  Owner() = default;
  explicit Owner(T value) : value_(value) {}
  ~Owner() { reset(); }
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;

  T get() const { return value_; }
  T* put() {
    reset();
    return &value_;
  }
  T release() {
    T value = value_;
    value_ = nullptr;
    return value;
  }
  void reset(T value = nullptr) {
    if (value_) kClose(value_);
    value_ = value;
  }
  explicit operator bool() const { return value_ != nullptr; }

 private:
  T value_ = nullptr;
};

void CloseAlgorithm(BCRYPT_ALG_HANDLE h) { BCryptCloseAlgorithmProvider(h, 0); }
void CloseStore(HCERTSTORE h) { CertCloseStore(h, 0); }
using AlgorithmOwner = Owner<BCRYPT_ALG_HANDLE, CloseAlgorithm>;
using HashOwner = Owner<BCRYPT_HASH_HANDLE, BCryptDestroyHash>;
using KeyOwner = Owner<BCRYPT_KEY_HANDLE, BCryptDestroyKey>;
using MessageOwner = Owner<HCRYPTMSG, CryptMsgClose>;
using StoreOwner = Owner<HCERTSTORE, CloseStore>;
using CertOwner = Owner<PCCERT_CONTEXT, CertFreeCertificateContext>;
using ChainOwner = Owner<PCCERT_CHAIN_CONTEXT, CertFreeCertificateChain>;

// Memory from the provider's allocator, which wintrust frees with the provider's data.
class ProviderMemory {
 public:
  explicit ProviderMemory(CRYPT_PROVIDER_DATA* provider) : provider_(provider) {}
  ~ProviderMemory() { reset(); }
  ProviderMemory(const ProviderMemory&) = delete;
  ProviderMemory& operator=(const ProviderMemory&) = delete;

  void* Allocate(DWORD size) {
    reset();
    return block_ = provider_->psPfns->pfnAlloc(size);
  }
  void reset() {
    if (block_) provider_->psPfns->pfnFree(block_);
    block_ = nullptr;
  }
  void* get() const { return block_; }
  void* release() {
    void* block = block_;
    block_ = nullptr;
    return block;
  }

 private:
  CRYPT_PROVIDER_DATA* provider_;
  void* block_ = nullptr;
};

// Wine's own step function of the same action.
StepFunction WineStep(const char* name) {
  HMODULE wintrust = GetModuleHandleW(L"wintrust.dll");  // loaded: it is calling us
  return wintrust ? reinterpret_cast<StepFunction>(
                        reinterpret_cast<void*>(GetProcAddress(wintrust, name)))
                  : nullptr;
}

// Wine's step runner fails a step only on a recorded step error (SoftpubAuthenticode returns
// S_FALSE with no error when it skips the policy), so a step passed when none was recorded.
bool StepPassed(const CRYPT_PROVIDER_DATA* provider, HRESULT result, DWORD step) {
  return result == S_OK || provider->padwTrustStepErrors[step] == 0;
}

// ---- DER ---------------------------------------------------------------------------------------

struct Tlv {
  BYTE tag = 0;
  const BYTE* start = nullptr;  // the tag
  const BYTE* value = nullptr;
  DWORD length = 0;
  const BYTE* end = nullptr;  // where the next element starts
};

bool ReadTlv(const BYTE* p, const BYTE* limit, Tlv* out) {
  if (!p || limit - p < 2) return false;
  Tlv t;
  t.start = p;
  t.tag = p[0];
  size_t length = p[1];
  p += 2;
  if (length & 0x80) {
    int count = length & 0x7f;
    if (count < 1 || count > 4 || limit - p < count) return false;
    for (length = 0; count-- > 0;) length = (length << 8) | *p++;
  }
  if (static_cast<size_t>(limit - p) < length) return false;
  t.value = p;
  t.length = static_cast<DWORD>(length);
  t.end = p + length;
  *out = t;
  return true;
}

bool ReadTlv(const CRYPT_DATA_BLOB& blob, Tlv* out) {
  return ReadTlv(blob.pbData, blob.pbData + blob.cbData, out);
}

// The index-th element inside a constructed element.
bool Child(const Tlv& parent, int index, Tlv* out) {
  const BYTE* p = parent.value;
  for (int i = 0; ReadTlv(p, parent.end, out); ++i, p = out->end) {
    if (i == index) return true;
  }
  return false;
}

// OBJECT IDENTIFIER -> "1.2.840..."; empty when it is none.
std::string OidText(const Tlv& t) {
  if (t.tag != 0x06 || t.length == 0) return {};
  std::string text;
  unsigned long long arc = 0;
  for (DWORD i = 0; i < t.length; ++i) {
    arc = (arc << 7) | (t.value[i] & 0x7f);
    if (t.value[i] & 0x80) continue;
    if (text.empty()) {  // the first octets hold two arcs
      const unsigned long long first = arc < 80 ? arc / 40 : 2;
      text = std::to_string(first) + "." + std::to_string(arc - first * 40);
    } else {
      text += "." + std::to_string(arc);
    }
    arc = 0;
  }
  return text;
}

// UTCTime or GeneralizedTime, in UTC.
bool DerTime(const Tlv& t, FILETIME* out) {
  const int digits = t.tag == 0x17 ? 12 : t.tag == 0x18 ? 14 : 0;
  if (digits == 0 || static_cast<int>(t.length) < digits) return false;
  int d[14];
  for (int i = 0; i < digits; ++i) {
    if (t.value[i] < '0' || t.value[i] > '9') return false;
    d[i] = t.value[i] - '0';
  }
  auto two = [&](int i) { return static_cast<WORD>(d[i] * 10 + d[i + 1]); };
  SYSTEMTIME st{};
  const int i = digits == 12 ? 2 : 4;
  st.wYear = digits == 12 ? static_cast<WORD>(two(0) < 50 ? 2000 + two(0) : 1900 + two(0))
                          : static_cast<WORD>(two(0) * 100 + two(2));
  st.wMonth = two(i);
  st.wDay = two(i + 2);
  st.wHour = two(i + 4);
  st.wMinute = two(i + 6);
  st.wSecond = two(i + 8);
  return SystemTimeToFileTime(&st, out);
}

// ---- hashes and RSA signatures -----------------------------------------------------------------

// A digest OID or an RSA-with-digest OID -> its CNG hash algorithm; null when unknown.
LPCWSTR HashAlgorithm(const std::string& oid) {
  static const struct {
    const char* oid;
    LPCWSTR algorithm;
  } kAlgorithms[] = {
      {"1.3.14.3.2.26", BCRYPT_SHA1_ALGORITHM},
      {"1.2.840.113549.1.1.5", BCRYPT_SHA1_ALGORITHM},
      {"2.16.840.1.101.3.4.2.1", BCRYPT_SHA256_ALGORITHM},
      {"1.2.840.113549.1.1.11", BCRYPT_SHA256_ALGORITHM},
      {"2.16.840.1.101.3.4.2.2", BCRYPT_SHA384_ALGORITHM},
      {"1.2.840.113549.1.1.12", BCRYPT_SHA384_ALGORITHM},
      {"2.16.840.1.101.3.4.2.3", BCRYPT_SHA512_ALGORITHM},
      {"1.2.840.113549.1.1.13", BCRYPT_SHA512_ALGORITHM},
      {"1.2.840.113549.2.5", BCRYPT_MD5_ALGORITHM},
  };
  for (const auto& a : kAlgorithms) {
    if (oid == a.oid) return a.algorithm;
  }
  return nullptr;
}

bool Hash(LPCWSTR algorithm, const BYTE* data, DWORD size, std::vector<BYTE>* digest) {
  AlgorithmOwner provider;
  HashOwner hash;
  DWORD length = 0, written = 0;
  if (!algorithm || BCryptOpenAlgorithmProvider(provider.put(), algorithm, nullptr, 0) != 0 ||
      BCryptGetProperty(provider.get(), BCRYPT_HASH_LENGTH, reinterpret_cast<PUCHAR>(&length),
                        sizeof length, &written, 0) != 0 ||
      BCryptCreateHash(provider.get(), hash.put(), nullptr, 0, nullptr, 0, 0) != 0 ||
      BCryptHashData(hash.get(), const_cast<PUCHAR>(data), size, 0) != 0) {
    return false;
  }
  digest->resize(length);
  return BCryptFinishHash(hash.get(), digest->data(), length, 0) == 0;
}

bool HashEquals(LPCWSTR algorithm, const BYTE* data, DWORD size, const Tlv& expected) {
  std::vector<BYTE> digest;
  return Hash(algorithm, data, size, &digest) && digest.size() == expected.length &&
         std::memcmp(digest.data(), expected.value, digest.size()) == 0;
}

bool RsaSignatureValid(PCCERT_CONTEXT cert, LPCWSTR algorithm, const BYTE* data, DWORD size,
                       const Tlv& signature) {
  std::vector<BYTE> digest;
  KeyOwner key;
  if (!cert || !Hash(algorithm, data, size, &digest) ||
      !CryptImportPublicKeyInfoEx2(X509_ASN_ENCODING, &cert->pCertInfo->SubjectPublicKeyInfo, 0,
                                   nullptr, key.put())) {
    return false;
  }
  BCRYPT_PKCS1_PADDING_INFO padding{algorithm};
  return BCryptVerifySignature(
             key.get(), &padding, digest.data(), static_cast<ULONG>(digest.size()),
             const_cast<PUCHAR>(signature.value), signature.length, BCRYPT_PAD_PKCS1) == 0;
}

// ---- time stamps -------------------------------------------------------------------------------

const CRYPT_ATTR_BLOB* Attribute(const CRYPT_ATTRIBUTES& attributes, const char* oid) {
  for (DWORD i = 0; i < attributes.cAttr; ++i) {
    const CRYPT_ATTRIBUTE& a = attributes.rgAttr[i];
    if (std::strcmp(a.pszObjId, oid) == 0 && a.cValue != 0) return &a.rgValue[0];
  }
  return nullptr;
}

// The signed messageDigest attribute of `signer` is the digest of `content`.
bool MessageDigestMatches(const CMSG_SIGNER_INFO* signer, const BYTE* content, DWORD size) {
  const CRYPT_ATTR_BLOB* digest = Attribute(signer->AuthAttrs, szOID_RSA_messageDigest);
  Tlv t;
  return digest && ReadTlv(*digest, &t) && t.tag == 0x04 &&
         HashEquals(HashAlgorithm(signer->HashAlgorithm.pszObjId), content, size, t);
}

// The certificate that `signer` names, from `extra` or from the provider's stores.
PCCERT_CONTEXT FindCertificate(const CRYPT_PROVIDER_DATA* provider, HCERTSTORE extra,
                               const CMSG_SIGNER_INFO* signer) {
  CERT_INFO wanted{};
  wanted.Issuer = signer->Issuer;
  wanted.SerialNumber = signer->SerialNumber;
  PCCERT_CONTEXT cert =
      extra ? CertGetSubjectCertificateFromStore(extra, kEncoding, &wanted) : nullptr;
  for (DWORD i = 0; !cert && i < provider->chStores; ++i) {
    cert = CertGetSubjectCertificateFromStore(provider->pahStores[i], kEncoding, &wanted);
  }
  return cert;
}

struct TimeStamp {
  explicit TimeStamp(CRYPT_PROVIDER_DATA* provider) : signerInfo(provider) {}
  ProviderMemory signerInfo;  // the TSA's CMSG_SIGNER_INFO, handed on to the counter-signer
  CertOwner tsa;
  FILETIME time{};
  bool verified = false;

  const CMSG_SIGNER_INFO* info() const {
    return static_cast<const CMSG_SIGNER_INFO*>(signerInfo.get());
  }
};

// 1.2.840.113549.1.9.6: a SignerInfo over the signer's encrypted digest; the TSA's certificates
// sit in the outer message.
void ReadLegacyTimeStamp(CRYPT_PROVIDER_DATA* provider, const CMSG_SIGNER_INFO* signer,
                         const CRYPT_ATTR_BLOB& value, TimeStamp* ts) {
  DWORD size = 0;
  if (!CryptDecodeObjectEx(kEncoding, PKCS7_SIGNER_INFO, value.pbData, value.cbData, 0, nullptr,
                           nullptr, &size) ||
      !ts->signerInfo.Allocate(size) ||
      !CryptDecodeObjectEx(kEncoding, PKCS7_SIGNER_INFO, value.pbData, value.cbData, 0, nullptr,
                           ts->signerInfo.get(), &size)) {
    ts->signerInfo.reset();
    return;
  }
  const CMSG_SIGNER_INFO* counter = ts->info();
  Tlv t;
  if (const CRYPT_ATTR_BLOB* when = Attribute(counter->AuthAttrs, szOID_RSA_signingTime)) {
    if (ReadTlv(*when, &t)) DerTime(t, &ts->time);
  }
  ts->tsa.reset(FindCertificate(provider, nullptr, counter));
  // SignerInfo ::= SEQUENCE { version, issuerAndSerialNumber, digestAlgorithm,
  //                           [0] authenticatedAttributes, digestEncryptionAlgorithm,
  //                           OCTET STRING encryptedDigest, ... }
  Tlv info, element, attributes{}, signature{};
  if (!ReadTlv(value, &info) || info.tag != 0x30) return;
  bool haveAttributes = false, haveSignature = false;
  for (int i = 0; !haveSignature && Child(info, i, &element); ++i) {
    if (element.tag == 0xA0 && !haveAttributes) {
      attributes = element;
      haveAttributes = true;
    } else if (element.tag == 0x04 && haveAttributes) {
      signature = element;
      haveSignature = true;
    }
  }
  if (!haveSignature) return;
  // The signature covers the attributes encoded as a SET OF, not as [0].
  std::vector<BYTE> signedAttributes(attributes.start, attributes.end);
  signedAttributes[0] = 0x31;
  const bool digestOk =
      MessageDigestMatches(counter, signer->EncryptedHash.pbData, signer->EncryptedHash.cbData);
  const bool signatureOk = RsaSignatureValid(
      ts->tsa.get(), HashAlgorithm(counter->HashAlgorithm.pszObjId), signedAttributes.data(),
      static_cast<DWORD>(signedAttributes.size()), signature);
  Trace("legacy time stamp: messageDigest=%d TSA signature=%d\n", digestOk, signatureOk);
  ts->verified = digestOk && signatureOk;
}

// 1.3.6.1.4.1.311.3.3.1: an RFC 3161 token, ContentInfo(SignedData(TSTInfo)).
void ReadRfc3161TimeStamp(CRYPT_PROVIDER_DATA* provider, const CMSG_SIGNER_INFO* signer,
                          const CRYPT_ATTR_BLOB& value, TimeStamp* ts) {
  MessageOwner message(CryptMsgOpenToDecode(kEncoding, 0, 0, 0, nullptr, nullptr));
  if (!message || !CryptMsgUpdate(message.get(), value.pbData, value.cbData, TRUE)) return;
  DWORD size = 0;
  if (!CryptMsgGetParam(message.get(), CMSG_SIGNER_INFO_PARAM, 0, nullptr, &size) ||
      !ts->signerInfo.Allocate(size) ||
      !CryptMsgGetParam(message.get(), CMSG_SIGNER_INFO_PARAM, 0, ts->signerInfo.get(), &size)) {
    ts->signerInfo.reset();
    return;
  }
  StoreOwner certificates(CertOpenStore(CERT_STORE_PROV_MSG, kEncoding, 0, 0, message.get()));
  if (certificates) {
    ts->tsa.reset(FindCertificate(provider, certificates.get(), ts->info()));
    // The token's certificates then help build chains; the provider keeps its own duplicate.
    provider->psPfns->pfnAddStore2Chain(provider, certificates.get());
  }
  size = 0;
  std::vector<BYTE> content;
  if (!CryptMsgGetParam(message.get(), CMSG_CONTENT_PARAM, 0, nullptr, &size)) return;
  content.resize(size);
  if (!CryptMsgGetParam(message.get(), CMSG_CONTENT_PARAM, 0, content.data(), &size)) return;
  content.resize(size);
  // Wine returns the content still wrapped in its OCTET STRING.
  const BYTE* tstInfo = content.data();
  DWORD tstInfoSize = size;
  Tlv wrapper;
  if (ReadTlv(content.data(), content.data() + size, &wrapper) && wrapper.tag == 0x04 &&
      wrapper.end == content.data() + size) {
    tstInfo = wrapper.value;
    tstInfoSize = wrapper.length;
  }
  // TSTInfo ::= SEQUENCE { version, policy,
  //                        messageImprint SEQUENCE { AlgorithmIdentifier, OCTET STRING },
  //                        serialNumber, genTime, ... }
  Tlv tst, imprint, algorithm, algorithmOid, imprinted, genTime;
  const bool parsed = ReadTlv(tstInfo, tstInfo + tstInfoSize, &tst) && tst.tag == 0x30 &&
                      Child(tst, 2, &imprint) && imprint.tag == 0x30 &&
                      Child(imprint, 0, &algorithm) && Child(algorithm, 0, &algorithmOid) &&
                      Child(imprint, 1, &imprinted) && imprinted.tag == 0x04 &&
                      Child(tst, 4, &genTime) && DerTime(genTime, &ts->time);
  const bool imprintOk =
      parsed && HashEquals(HashAlgorithm(OidText(algorithmOid)), signer->EncryptedHash.pbData,
                           signer->EncryptedHash.cbData, imprinted);
  const bool digestOk = MessageDigestMatches(ts->info(), tstInfo, tstInfoSize);
  CMSG_CTRL_VERIFY_SIGNATURE_EX_PARA verify{};
  verify.cbSize = sizeof verify;
  verify.dwSignerType = CMSG_VERIFY_SIGNER_CERT;
  verify.pvSigner = const_cast<CERT_CONTEXT*>(ts->tsa.get());
  const bool signatureOk =
      ts->tsa && CryptMsgControl(message.get(), 0, CMSG_CTRL_VERIFY_SIGNATURE_EX, &verify);
  Trace("RFC 3161 time stamp: TSTInfo=%d messageImprint=%d messageDigest=%d TSA signature=%d\n",
        parsed, imprintOk, digestOk, signatureOk);
  ts->verified = parsed && imprintOk && digestOk && signatureOk;
}

// The TSA certificate's chain as of the time stamp, for the time-stamping usage, and its policy
// error (0 when trusted). `chain` holds the chain whenever one was built.
DWORD TsaChainError(const CRYPT_PROVIDER_DATA* provider, const TimeStamp& ts, ChainOwner* chain) {
  if (!ts.tsa) return static_cast<DWORD>(TRUST_E_TIME_STAMP);
  StoreOwner all(
      CertOpenStore(CERT_STORE_PROV_COLLECTION, 0, 0, CERT_STORE_CREATE_NEW_FLAG, nullptr));
  for (DWORD i = 0; all && i < provider->chStores; ++i) {
    CertAddStoreToCollection(all.get(), provider->pahStores[i], 0, 0);
  }
  char usage[] = szOID_PKIX_KP_TIMESTAMP_SIGNING;
  LPSTR usages[] = {usage};
  CERT_CHAIN_PARA para{};
  para.cbSize = sizeof para;
  para.RequestedUsage.dwType = USAGE_MATCH_TYPE_AND;
  para.RequestedUsage.Usage.cUsageIdentifier = 1;
  para.RequestedUsage.Usage.rgpszUsageIdentifier = usages;
  FILETIME when = ts.time;
  if (!CertGetCertificateChain(nullptr, ts.tsa.get(), &when, all.get(), &para, 0, nullptr,
                               chain->put())) {
    return static_cast<DWORD>(TRUST_E_TIME_STAMP);
  }
  if (chain->get()->TrustStatus.dwErrorStatus & CERT_TRUST_IS_NOT_VALID_FOR_USAGE) {
    return static_cast<DWORD>(CERT_E_WRONG_USAGE);
  }
  CERT_CHAIN_POLICY_PARA policy{};
  policy.cbSize = sizeof policy;
  policy.dwFlags = CERT_CHAIN_POLICY_IGNORE_ALL_REV_UNKNOWN_FLAGS;
  CERT_CHAIN_POLICY_STATUS status{};
  status.cbSize = sizeof status;
  if (!CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_BASE, chain->get(), &policy, &status)) {
    return static_cast<DWORD>(TRUST_E_TIME_STAMP);
  }
  return status.dwError;
}

// ---- counter-signers in the provider's data ----------------------------------------------------

// Appends one element to a provider array (wintrust frees such arrays with pfnFree); null when
// out of memory, with the array as it was.
template <typename T>
T* Append(CRYPT_PROVIDER_DATA* provider, T*& array, DWORD& count, const T& item) {
  T* grown = static_cast<T*>(provider->psPfns->pfnAlloc((count + 1) * sizeof(T)));
  if (!grown) return nullptr;
  if (count != 0) std::memcpy(static_cast<void*>(grown), array, count * sizeof(T));
  grown[count] = item;
  if (array) provider->psPfns->pfnFree(array);
  array = grown;
  return &array[count++];
}

// The counter-signer's chain as CRYPT_PROVIDER_CERTs, filled as Wine fills a signer's.
void AddChainCertificates(CRYPT_PROVIDER_DATA* provider, CRYPT_PROVIDER_SGNR* counter) {
  const CERT_CHAIN_CONTEXT* chain = counter->pChainContext;
  const CERT_SIMPLE_CHAIN* simple = chain->cChain != 0 ? chain->rgpChain[0] : nullptr;
  for (DWORD e = 0; simple && e < simple->cElement; ++e) {
    const CERT_CHAIN_ELEMENT* element = simple->rgpElement[e];
    const DWORD errors = element->TrustStatus.dwErrorStatus;
    CRYPT_PROVIDER_CERT cert{};
    cert.cbStruct = sizeof cert;
    cert.pChainElement = const_cast<CERT_CHAIN_ELEMENT*>(element);
    cert.dwError = errors;
    cert.dwConfidence = (errors & CERT_TRUST_IS_NOT_SIGNATURE_VALID ? 0 : CERT_CONFIDENCE_SIG) |
                        (errors & CERT_TRUST_IS_NOT_TIME_VALID ? 0 : CERT_CONFIDENCE_TIME) |
                        (errors & CERT_TRUST_IS_NOT_TIME_NESTED ? 0 : CERT_CONFIDENCE_TIMENEST);
    cert.fSelfSigned = (element->TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED) != 0;
    cert.fTrustedRoot = cert.fSelfSigned && !(errors & CERT_TRUST_IS_UNTRUSTED_ROOT);
    CertOwner reference(CertDuplicateCertificateContext(element->pCertContext));
    cert.pCert = reference.get();
    if (!Append(provider, counter->pasCertChain, counter->csCertChain, cert)) return;
    reference.release();  // freed by TsprovCleanup
  }
}

void AddTimeStamps(CRYPT_PROVIDER_DATA* provider, DWORD index) {
  CRYPT_PROVIDER_SGNR* signer = &provider->pasSigners[index];
  const CMSG_SIGNER_INFO* info = signer->psSigner;
  if (!info || signer->csCounterSigners != 0) return;  // nothing to read, or Wine already did
  for (DWORD a = 0; a < info->UnauthAttrs.cAttr; ++a) {
    const CRYPT_ATTRIBUTE& attribute = info->UnauthAttrs.rgAttr[a];
    const bool legacy = std::strcmp(attribute.pszObjId, szOID_RSA_counterSign) == 0;
    const bool rfc3161 = std::strcmp(attribute.pszObjId, szOID_RFC3161_counterSign) == 0;
    for (DWORD v = 0; (legacy || rfc3161) && v < attribute.cValue; ++v) {
      TimeStamp ts(provider);
      if (legacy) {
        ReadLegacyTimeStamp(provider, info, attribute.rgValue[v], &ts);
      } else {
        ReadRfc3161TimeStamp(provider, info, attribute.rgValue[v], &ts);
      }
      if (!ts.signerInfo.get()) {
        Trace("signer %lu: undecodable %s value\n", index, attribute.pszObjId);
        continue;
      }
      ChainOwner chain;
      const DWORD chainError = TsaChainError(provider, ts, &chain);
      CRYPT_PROVIDER_SGNR counter{};
      counter.cbStruct = sizeof counter;
      counter.dwSignerType = SGNR_TYPE_TIMESTAMP;
      counter.psSigner = static_cast<CMSG_SIGNER_INFO*>(ts.signerInfo.get());
      counter.sftVerifyAsOf = ts.time;
      counter.pChainContext = chain.get();
      counter.dwError = ts.verified ? chainError : static_cast<DWORD>(TRUST_E_TIME_STAMP);
      CRYPT_PROVIDER_SGNR* added =
          Append(provider, signer->pasCounterSigners, signer->csCounterSigners, counter);
      if (!added) continue;  // out of memory: the owners give back what it would have held
      ts.signerInfo.release();
      chain.release();
      if (added->pChainContext) AddChainCertificates(provider, added);
      // Wine's certificate step then builds the signer's chain as of the time stamp.
      if (ts.verified) signer->sftVerifyAsOf = ts.time;
      Trace("signer %lu: %s time stamp -> counter-signer %lu, dwError 0x%08lx\n", index,
            legacy ? "legacy" : "RFC 3161", signer->csCounterSigners - 1, added->dwError);
    }
  }
}

// The Authenticode chain policy on a signer's chain, with the flags SoftpubAuthenticode derives
// from the machine's policy settings.
DWORD SignerChainError(const CRYPT_PROVIDER_DATA* provider, const CRYPT_PROVIDER_SGNR& signer) {
  if (!signer.pChainContext) return static_cast<DWORD>(CERT_E_CHAINING);
  CERT_CHAIN_POLICY_PARA para{};
  para.cbSize = sizeof para;
  const DWORD settings = provider->dwRegPolicySettings;
  if (settings & WTPF_TRUSTTEST) para.dwFlags |= CERT_CHAIN_POLICY_TRUST_TESTROOT_FLAG;
  if (settings & WTPF_TESTCANBEVALID) para.dwFlags |= CERT_CHAIN_POLICY_ALLOW_TESTROOT_FLAG;
  if (settings & WTPF_IGNOREEXPIRATION) {
    para.dwFlags |= CERT_CHAIN_POLICY_IGNORE_ALL_NOT_TIME_VALID_FLAGS;
  }
  if (settings & WTPF_IGNOREREVOKATION) {
    para.dwFlags |= CERT_CHAIN_POLICY_IGNORE_ALL_REV_UNKNOWN_FLAGS;
  }
  CERT_CHAIN_POLICY_STATUS status{};
  status.cbSize = sizeof status;
  if (!CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_AUTHENTICODE, signer.pChainContext, &para,
                                        &status)) {
    return static_cast<DWORD>(TRUST_E_SYSTEM_ERROR);
  }
  return status.dwError;
}

// Windows checks the revocation of each signer's chain, all but the root, when the caller asks
// for WTD_REVOKE_WHOLECHAIN, from cached data only with WTD_CACHE_ONLY_URL_RETRIEVAL; Wine never
// does. A listed certificate gives CERT_E_REVOKED; an unknown or offline status passes when the
// machine's policy allows offline revocation (WTPF_OFFLINEOK_*, the Windows default), as it does
// for any endpoint without network.
DWORD SignerRevocationError(const CRYPT_PROVIDER_DATA* provider,
                            const CRYPT_PROVIDER_SGNR& signer) {
  const WINTRUST_DATA* data = provider->pWintrustData;
  if (!data || data->fdwRevocationChecks != WTD_REVOKE_WHOLECHAIN ||
      (data->dwProvFlags & WTD_REVOCATION_CHECK_NONE) || !signer.pChainContext ||
      signer.pChainContext->cChain == 0) {
    return 0;
  }
  const CERT_SIMPLE_CHAIN* simple = signer.pChainContext->rgpChain[0];
  if (simple->cElement == 0) return 0;
  StoreOwner store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
  if (!store) return static_cast<DWORD>(TRUST_E_SYSTEM_ERROR);
  for (DWORD i = 1; i < simple->cElement; ++i) {
    CertAddCertificateContextToStore(store.get(), simple->rgpElement[i]->pCertContext,
                                     CERT_STORE_ADD_USE_EXISTING, nullptr);
  }
  DWORD flags = CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT;
  if (data->dwProvFlags & WTD_CACHE_ONLY_URL_RETRIEVAL) {
    flags |= CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY;
  }
  FILETIME when = signer.sftVerifyAsOf;
  CERT_CHAIN_PARA para{};
  para.cbSize = sizeof para;
  ChainOwner chain;
  if (!CertGetCertificateChain(nullptr, simple->rgpElement[0]->pCertContext, &when, store.get(),
                               &para, flags, nullptr, chain.put())) {
    return static_cast<DWORD>(TRUST_E_SYSTEM_ERROR);
  }
  const DWORD status = chain.get()->TrustStatus.dwErrorStatus;
  Trace("revocation: chain status 0x%08lx, policy settings 0x%08lx\n", status,
        provider->dwRegPolicySettings);
  if (status & CERT_TRUST_IS_REVOKED) return static_cast<DWORD>(CERT_E_REVOKED);
  constexpr DWORD kOfflineOk = WTPF_OFFLINEOK_IND | WTPF_OFFLINEOK_COM;
  if ((status & (CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION)) &&
      (provider->dwRegPolicySettings & kOfflineOk) != kOfflineOk) {
    return static_cast<DWORD>(CERT_E_REVOCATION_FAILURE);
  }
  return 0;
}

}  // namespace

// ---- the registered steps ----------------------------------------------------------------------

extern "C" __declspec(dllexport) HRESULT WINAPI TsprovLoadSignature(CRYPT_PROVIDER_DATA* provider) {
  const StepFunction wine = WineStep("SoftpubLoadSignature");
  if (!wine) {
    provider->padwTrustStepErrors[TRUSTERROR_STEP_FINAL_SIGPROV] = ERROR_PROC_NOT_FOUND;
    return S_FALSE;
  }
  const HRESULT result = wine(provider);
  Trace("SoftpubLoadSignature -> 0x%08lx, %lu signer(s)\n", static_cast<unsigned long>(result),
        provider->csSigners);
  if (StepPassed(provider, result, TRUSTERROR_STEP_FINAL_SIGPROV) && provider->psPfns &&
      provider->pasSigners) {
    for (DWORD i = 0; i < provider->csSigners; ++i) AddTimeStamps(provider, i);
  }
  return result;
}

extern "C" __declspec(dllexport) HRESULT WINAPI TsprovFinalPolicy(CRYPT_PROVIDER_DATA* provider) {
  const StepFunction wine = WineStep("SoftpubAuthenticode");
  if (!wine) {
    provider->padwTrustStepErrors[TRUSTERROR_STEP_FINAL_POLICYPROV] = ERROR_PROC_NOT_FOUND;
    return S_FALSE;
  }
  const HRESULT result = wine(provider);
  if (!StepPassed(provider, result, TRUSTERROR_STEP_FINAL_POLICYPROV)) return result;
  DWORD error = 0;
  for (DWORD i = 0; error == 0 && i < provider->csSigners; ++i) {
    const CRYPT_PROVIDER_SGNR& signer = provider->pasSigners[i];
    error = SignerChainError(provider, signer);
    if (error == 0) error = SignerRevocationError(provider, signer);
    if (error != 0) Trace("signer %lu: chain policy 0x%08lx\n", i, error);
    for (DWORD j = 0; error == 0 && j < signer.csCounterSigners; ++j) {
      if (signer.pasCounterSigners[j].dwError != 0) {
        Trace("signer %lu, counter-signer %lu: dwError 0x%08lx\n", i, j,
              signer.pasCounterSigners[j].dwError);
        error = static_cast<DWORD>(TRUST_E_TIME_STAMP);
      }
    }
  }
  if (error == 0) return S_OK;
  provider->padwTrustStepErrors[TRUSTERROR_STEP_FINAL_POLICYPROV] = error;
  return S_FALSE;
}

extern "C" __declspec(dllexport) HRESULT WINAPI TsprovCleanup(CRYPT_PROVIDER_DATA* provider) {
  for (DWORD i = 0; provider->pasSigners && i < provider->csSigners; ++i) {
    CRYPT_PROVIDER_SGNR* signer = &provider->pasSigners[i];
    for (DWORD j = 0; signer->pasCounterSigners && j < signer->csCounterSigners; ++j) {
      CRYPT_PROVIDER_SGNR* counter = &signer->pasCounterSigners[j];
      for (DWORD k = 0; counter->pasCertChain && k < counter->csCertChain; ++k) {
        CertFreeCertificateContext(counter->pasCertChain[k].pCert);
      }
      if (counter->pasCertChain) provider->psPfns->pfnFree(counter->pasCertChain);
      if (counter->psSigner) provider->psPfns->pfnFree(counter->psSigner);
      if (counter->pChainContext) CertFreeCertificateChain(counter->pChainContext);
    }
    if (signer->pasCounterSigners) provider->psPfns->pfnFree(signer->pasCounterSigners);
    signer->pasCounterSigners = nullptr;  // nothing left for SoftpubCleanup to free again
    signer->csCounterSigners = 0;
  }
  const StepFunction wine = WineStep("SoftpubCleanup");
  return wine ? wine(provider) : S_OK;
}
