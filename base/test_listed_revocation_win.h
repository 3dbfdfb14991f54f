// A revocation list in the machine's "CA" store for the life of the object, where an
// administrator or a policy puts the lists an offline endpoint is to know. Wine writes a registry
// store back only when it is closed, and drops a deleted list from its registry key only in
// memory, so the key that holds it (named by its SHA-1 thumbprint, on Windows as under Wine) goes
// directly.
#pragma once

#include <windows.h>
// clang-format off
#include <wincrypt.h>
// clang-format on

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "base/win_handles.h"

namespace tarn {

class ListedRevocation {
 public:
  explicit ListedRevocation(const std::wstring& derFile) {
    std::ifstream in(derFile.c_str(), std::ios::binary);
    const std::vector<BYTE> der{std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>()};
    crl_.reset(CertCreateCRLContext(X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
    UniqueCertStore store(
        CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, L"CA"));
    EXPECT_TRUE(crl_ && store &&
                CertAddCRLContextToStore(store.get(), crl_.get(), CERT_STORE_ADD_REPLACE_EXISTING,
                                         nullptr));
  }
  ~ListedRevocation() {
    BYTE sha1[20];
    DWORD size = sizeof sha1;
    if (!crl_ || !CertGetCRLContextProperty(crl_.get(), CERT_SHA1_HASH_PROP_ID, sha1, &size)) {
      return;
    }
    std::string key = "Software\\Microsoft\\SystemCertificates\\CA\\CRLs\\";
    for (DWORD i = 0; i < size; ++i) {
      char hex[3];
      std::snprintf(hex, sizeof hex, "%02X", sha1[i]);
      key += hex;
    }
    EXPECT_EQ(RegDeleteTreeA(HKEY_LOCAL_MACHINE, key.c_str()), ERROR_SUCCESS);
  }
  ListedRevocation(const ListedRevocation&) = delete;
  ListedRevocation& operator=(const ListedRevocation&) = delete;

 private:
  UniqueHandle<handle_traits::Traits<PCCRL_CONTEXT, nullptr, CertFreeCRLContext>> crl_;
};

}  // namespace tarn
