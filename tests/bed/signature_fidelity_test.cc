// Each signed variant of each stand-in module, checked with WinVerifyTrust and the WTHelper
// functions in the order and with the settings the tool's module signature check uses.
//
// The expected values below are the answers Windows gives for these files: the time stamp
// (RFC 3161 or legacy) shows as a counter-signer of type SGNR_TYPE_TIMESTAMP, a broken TSA
// signature fails with TRUST_E_TIME_STAMP, and a SHA-256 signature under a root the machine does
// not trust fails with CERT_E_UNTRUSTEDROOT. Wine 8.0 alone reports no counter-signers and
// passes the untrusted root; the test prefix answers as Windows does because testbed.sh
// registers its trust-provider wrapper (testbed/tsprov.cc) for the steps of
// WINTRUST_ACTION_GENERIC_VERIFY_V2. A failure here therefore means the test bed no longer
// behaves like Windows (a Wine upgrade, a prefix set up without the wrapper), and every
// signature test built on it would prove nothing.
#include <windows.h>
// clang-format off
#include <softpub.h>
#include <wincrypt.h>
#include <wintrust.h>
// clang-format on

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "auth/trust_request_win.h"
#include "base/test_listed_revocation_win.h"
#include "tests/bed/bed_paths.h"

namespace tarn::bed {
namespace {

// A counter-signer that is not a time stamp.
constexpr LONG kNotATimeStamp = -1;

struct TrustAnswer {
  LONG result = 0;
  std::vector<LONG> counterSigners;  // each one's error, or kNotATimeStamp
  std::wstring leafCommonName;       // up to the first null
  LONG closeResult = 0;
};

std::wstring CommonName(PCCERT_CONTEXT cert) {
  char oid[] = "2.5.4.3";
  const DWORD count = CertGetNameStringW(cert, CERT_NAME_ATTR_TYPE, 0, oid, nullptr, 0);
  std::wstring name(count, L'\0');
  if (count != 0) CertGetNameStringW(cert, CERT_NAME_ATTR_TYPE, 0, oid, name.data(), count);
  return name.c_str();
}

TrustAnswer Verify(const std::wstring& path) {
  TrustRequest request(path);
  TrustAnswer answer;
  answer.result = request.Verify();
  if (CRYPT_PROVIDER_DATA* provider = WTHelperProvDataFromStateData(request.state())) {
    if (CRYPT_PROVIDER_SGNR* signer = WTHelperGetProvSignerFromChain(provider, 0, FALSE, 0)) {
      for (DWORD i = 0; i < signer->csCounterSigners; ++i) {
        CRYPT_PROVIDER_SGNR* counter = WTHelperGetProvSignerFromChain(provider, 0, TRUE, i);
        if (counter) {
          answer.counterSigners.push_back(counter->dwSignerType == SGNR_TYPE_TIMESTAMP
                                              ? static_cast<LONG>(counter->dwError)
                                              : kNotATimeStamp);
        }
      }
      if (CRYPT_PROVIDER_CERT* leaf = WTHelperGetProvCertFromChain(signer, 0)) {
        answer.leafCommonName = CommonName(leaf->pCert);
      }
    }
  }
  answer.closeResult = request.Close();
  return answer;
}

TEST(SignedVariantTest, EachModuleOfEachVariantAnswersAsWindows) {
  const struct {
    const wchar_t* variant;
    LONG result;
    std::vector<LONG> counterSigners;
    const wchar_t* leafCommonName;  // null: neither checked
    bool sampleOnly = false;        // the build makes this variant of sample.dll alone
  } cases[] = {
      {L"timestamped", 0, {0}, L"Arvantis SRL"},
      {L"legacy-timestamp", 0, {0}, L"Arvantis SRL"},
      {L"untimestamped", 0, {}, L"Arvantis SRL"},
      {L"foreign", 0, {0}, L"Foreign Test Signer"},
      {L"capitals", 0, {0}, L"ARVANTIS SRL"},
      {L"untrusted", CERT_E_UNTRUSTEDROOT, {}, nullptr},
      {L"unsigned", TRUST_E_NOSIGNATURE, {}, nullptr},
      {L"tampered", TRUST_E_BAD_DIGEST, {}, nullptr},
      // One byte of the TSA's RSA signature inverted: the file's own signature still holds.
      {L"timestamp-broken", TRUST_E_TIME_STAMP, {TRUST_E_TIME_STAMP}, L"Arvantis SRL", true},
      {L"legacy-timestamp-broken", TRUST_E_TIME_STAMP, {TRUST_E_TIME_STAMP}, L"Arvantis SRL", true},
  };
  const std::vector<const wchar_t*> all(std::begin(kSignedModules), std::end(kSignedModules));
  for (const auto& c : cases) {
    for (const wchar_t* module : c.sampleOnly ? std::vector<const wchar_t*>{L"sample.dll"} : all) {
      const std::wstring path = std::wstring(kSignedDir) + L"\\" + c.variant + L"\\" + module;
      SCOPED_TRACE(testing::Message() << "file " << testing::PrintToString(path));
      EXPECT_NE(GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES);

      const TrustAnswer answer = Verify(path);
      EXPECT_EQ(static_cast<DWORD>(answer.result), static_cast<DWORD>(c.result));
      EXPECT_EQ(answer.closeResult, 0);
      if (c.leafCommonName) {
        EXPECT_EQ(answer.counterSigners, c.counterSigners);
        EXPECT_EQ(answer.leafCommonName, c.leafCommonName);
      }
    }
  }
}

TEST(SignedVariantTest, ASignerIsRevokedOnlyByTheListAtHand) {
  // WTD_REVOKE_WHOLECHAIN from cached data only: without its root's list a revoked signer's
  // status is unknown and offline, which the default policy accepts, as for every signer here.
  const std::wstring revoked = std::wstring(kSignedDir) + L"\\revoked\\sample.dll";
  const std::wstring good = std::wstring(kSignedDir) + L"\\timestamped\\sample.dll";
  EXPECT_EQ(Verify(revoked).result, 0);
  {
    ListedRevocation list(std::wstring(kPkiDir) + L"\\cs-root.crl");
    EXPECT_EQ(static_cast<DWORD>(Verify(revoked).result), static_cast<DWORD>(CERT_E_REVOKED));
    EXPECT_EQ(Verify(good).result, 0);
  }
  EXPECT_EQ(Verify(revoked).result, 0);
}

}  // namespace
}  // namespace tarn::bed
