// The authorization service's test certificates in the test prefix: what chain each leaf builds on
// the default chain engine when it arrives alone, as it does on the tool's command line. A chain
// is acceptable when its error status carries no bit other than
// CERT_TRUST_REVOCATION_STATUS_UNKNOWN. The prefix's stores show through these outcomes: a valid
// chain needs its issuing CA known and its root trusted, a partial one needs both unknown.
#include <windows.h>
// clang-format off
#include <wincrypt.h>
// clang-format on

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/build_config.h"
#include "base/win_handles.h"
#include "tests/bed/bed_paths.h"

namespace tarn::bed {
namespace {

using UniqueChain =
    UniqueHandle<handle_traits::Traits<PCCERT_CHAIN_CONTEXT, nullptr, CertFreeCertificateChain>>;

constexpr char kIssuerName[] = "DigiCert Global G2 TLS RSA SHA256 2020 CA1";

std::vector<BYTE> ReadCertificate(const char* name) {
  const std::wstring path = std::wstring(kPkiDir) + L"\\" + std::wstring(name, name + strlen(name));
  std::ifstream in(path.c_str(), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string SimpleName(PCCERT_CONTEXT cert, DWORD flags) {
  char name[256] = "";
  CertGetNameStringA(cert, CERT_NAME_SIMPLE_DISPLAY_TYPE, flags, nullptr, name, sizeof name);
  return name;
}

struct LeafCase {
  const char* file;
  const char* subject;  // null: the build's authorization service host
  const char* issuer;
  bool chainValid;
  DWORD requiredErrors;  // bits that must be set in an invalid chain's status
};

TEST(AuthorizationLeafTest, ChainsAndNamesAreWhatEachFixtureStandsFor) {
  const LeafCase cases[] = {
      {"auth-leaf.cer", nullptr, kIssuerName, true, 0},
      {"auth-leaf-rekeyed.cer", nullptr, kIssuerName, true, 0},
      {"auth-leaf-wrong-subject.cer", "other-service.arvantis.example", kIssuerName, true, 0},
      {"auth-leaf-other-ca.cer", nullptr, "TARN Test Other TLS CA", true, 0},
      {"auth-leaf-expired.cer", nullptr, kIssuerName, false, CERT_TRUST_IS_NOT_TIME_VALID},
      // Its issuer and root are in no store of the prefix, as on a machine that never met them.
      {"auth-leaf-untrusted.cer", nullptr, kIssuerName, false, CERT_TRUST_IS_PARTIAL_CHAIN},
  };
  for (const LeafCase& c : cases) {
    SCOPED_TRACE(c.file);
    std::vector<BYTE> der = ReadCertificate(c.file);
    ASSERT_FALSE(der.empty());
    // As the tool receives it: the leaf alone, in a memory store.
    UniqueCertStore store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    ASSERT_TRUE(store);
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(CertAddEncodedCertificateToStore(store.get(), X509_ASN_ENCODING, der.data(),
                                                 static_cast<DWORD>(der.size()),
                                                 CERT_STORE_ADD_USE_EXISTING, &added));
    UniqueCertContext cert(added);

    EXPECT_EQ(SimpleName(cert.get(), 0), c.subject ? c.subject : TARN_AUTH_SERVICE_HOST);
    EXPECT_EQ(SimpleName(cert.get(), CERT_NAME_ISSUER_FLAG), c.issuer);

    CERT_CHAIN_PARA para{};
    para.cbSize = sizeof para;
    UniqueChain chain;
    ASSERT_TRUE(CertGetCertificateChain(nullptr, cert.get(), nullptr, store.get(), &para, 0,
                                        nullptr, chain.put()));
    const DWORD errors = chain.get()->TrustStatus.dwErrorStatus;
    const DWORD tolerated = CERT_TRUST_REVOCATION_STATUS_UNKNOWN;
    EXPECT_EQ((errors & ~tolerated) == 0, c.chainValid) << std::hex << "status 0x" << errors;
    EXPECT_EQ(errors & c.requiredErrors, c.requiredErrors) << std::hex << "status 0x" << errors;
  }
}

}  // namespace
}  // namespace tarn::bed
