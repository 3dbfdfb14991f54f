// The authorization service's test certificates in the test prefix: the chain each refused leaf
// builds on the default chain engine when it arrives alone, as it does on the tool's command
// line. Which leaves are accepted and which names they carry is pinned through the tool's own
// checks (auth/crypto_win_test.cc); here each refused leaf fails for the reason it stands for,
// and for no other, so that the tests built on it prove what they say.
#include <windows.h>
// clang-format off
#include <wincrypt.h>
// clang-format on

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/win_handles.h"
#include "tests/bed/bed_paths.h"

namespace tarn::bed {
namespace {

using UniqueChain =
    UniqueHandle<handle_traits::Traits<PCCERT_CHAIN_CONTEXT, nullptr, CertFreeCertificateChain>>;

TEST(AuthorizationLeafTest, EachRefusedLeafFailsForItsOwnReason) {
  const struct {
    const wchar_t* file;
    DWORD errors;  // besides CERT_TRUST_REVOCATION_STATUS_UNKNOWN, which every chain may carry
  } cases[] = {
      {L"auth-leaf-expired.cer", CERT_TRUST_IS_NOT_TIME_VALID},
      // Its issuer and root are in no store of the prefix, as on a machine that never met them.
      {L"auth-leaf-untrusted.cer", CERT_TRUST_IS_PARTIAL_CHAIN},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.file));
    std::ifstream in((std::wstring(kPkiDir) + L"\\" + c.file).c_str(), std::ios::binary);
    std::vector<BYTE> der{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    ASSERT_FALSE(der.empty());
    // As the tool receives it: the leaf alone, in a memory store.
    UniqueCertStore store(CertOpenStore(CERT_STORE_PROV_MEMORY, 0, 0, 0, nullptr));
    ASSERT_TRUE(store);
    PCCERT_CONTEXT added = nullptr;
    ASSERT_TRUE(CertAddEncodedCertificateToStore(store.get(), X509_ASN_ENCODING, der.data(),
                                                 static_cast<DWORD>(der.size()),
                                                 CERT_STORE_ADD_USE_EXISTING, &added));
    UniqueCertContext cert(added);
    CERT_CHAIN_PARA para{};
    para.cbSize = sizeof para;
    UniqueChain chain;
    ASSERT_TRUE(CertGetCertificateChain(nullptr, cert.get(), nullptr, store.get(), &para, 0,
                                        nullptr, chain.put()));
    const DWORD errors = chain.get()->TrustStatus.dwErrorStatus;
    EXPECT_EQ(errors & ~DWORD{CERT_TRUST_REVOCATION_STATUS_UNKNOWN}, c.errors)
        << std::hex << "status 0x" << errors;
  }
}

}  // namespace
}  // namespace tarn::bed
