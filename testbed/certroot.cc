// certroot.exe CERT: adds a certificate (DER or PEM) to the LocalMachine "Root" store, as
// `certutil -addstore Root CERT` does on Windows; adding it again replaces it. Exit status 0 on
// success. The store lives in the prefix's registry, so the trust survives a server restart.
#include <windows.h>
// clang-format off
#include <wincrypt.h>
// clang-format on

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

namespace {

struct StoreCloser {
  void operator()(HCERTSTORE store) const { CertCloseStore(store, 0); }
};
using StoreOwner = std::unique_ptr<void, StoreCloser>;

// A PEM text becomes its DER bytes; anything else is taken as DER. Empty when unreadable.
std::vector<BYTE> ReadCertificate(const wchar_t* path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<BYTE> data{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  constexpr char kPem[] = "-----BEGIN";
  if (data.size() <= sizeof kPem || std::memcmp(data.data(), kPem, sizeof kPem - 1) != 0) {
    return data;
  }
  std::vector<BYTE> der(data.size());
  DWORD size = static_cast<DWORD>(der.size());
  if (!CryptStringToBinaryA(reinterpret_cast<const char*>(data.data()),
                            static_cast<DWORD>(data.size()), CRYPT_STRING_BASE64HEADER, der.data(),
                            &size, nullptr, nullptr)) {
    size = 0;
  }
  der.resize(size);
  return der;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: certroot.exe CERT\n");
    return 2;
  }
  const std::vector<BYTE> der = ReadCertificate(argv[1]);
  if (der.empty()) {
    std::fprintf(stderr, "certroot: cannot read a certificate from %ls\n", argv[1]);
    return 1;
  }
  const StoreOwner store(
      CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, L"Root"));
  const bool added =
      store && CertAddEncodedCertificateToStore(store.get(), X509_ASN_ENCODING, der.data(),
                                                static_cast<DWORD>(der.size()),
                                                CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
  const DWORD error = added ? 0 : GetLastError();
  if (!added) {
    std::fprintf(stderr, "certroot: cannot add %ls to LocalMachine Root (error 0x%08lX)\n", argv[1],
                 error);
  }
  return added ? 0 : 1;
}
