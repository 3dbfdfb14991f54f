// The crypto services against the test PKI, in a prefix that trusts it (sim/pki/trust.sh), with
// signatures made by OpenSSL at build time (auth/crypto_test_fixtures.sh).
#include <windows.h>
// clang-format off
#include <wincrypt.h>
// clang-format on

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "auth/certificate_file.h"
#include "auth/crypto.h"
#include "auth/crypto/crypto_fixtures.h"
#include "base/test_listed_revocation_win.h"
#include "base/test_log_capture.h"
#include "base/test_temp_dir.h"
#include "base/text.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

using crypto_fixtures::kMessage;
using Messages = std::vector<std::string>;

std::wstring PkiFile(const char* name) {
  return std::wstring(crypto_fixtures::kPkiDir) + L"\\" + std::wstring(name, name + strlen(name));
}

std::vector<uint8_t> ReadFile(const std::wstring& path) {
  std::ifstream in(path.c_str(), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::vector<uint8_t> Certificate(const char* name) {
  std::vector<uint8_t> der = ReadFile(PkiFile(name));
  EXPECT_FALSE(der.empty()) << name;
  return der;
}

std::vector<uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

TEST(DecodeBase64Test, DecodesOrLeavesTheBytesAlone) {
  struct Case {
    const wchar_t* text;
    uint32_t result;
    std::string bytes;  // expected on success
  } cases[] = {
      {L"TWFu\r\nTWE=", 0, "ManMa"},  // line breaks, as in a certificate file
      {L"AAH+/w==", 0, std::string("\x00\x01\xfe\xff", 4)},
      {L"!!!!", 13, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(c.text)));
    std::vector<uint8_t> bytes = {42};
    LogCapture log("tarn-base64-test");
    EXPECT_EQ(DecodeBase64(bytes, c.text, log.get()), c.result);
    EXPECT_EQ(bytes, c.result == 0 ? Bytes(c.bytes) : std::vector<uint8_t>{42});
    EXPECT_EQ(log.Take().back(),
              c.result == 0 ? "Data retrieved successfully" : "Could not crypt string to binary");
  }
}

TEST(ValidateCertificateTest, ChainDecidesForTheDecodedBytesNeverThePath) {
  // The file form names the path in the log only: a file that holds another certificate, or none,
  // cannot lend its verdict to the bytes the signatures are verified with.
  struct Case {
    const char* name;
    bool valid;
    const char* path;  // of the file form
  } cases[] = {
      {"auth-leaf", true, "auth-leaf-untrusted.b64"},
      {"auth-leaf-wrong-subject", true, "absent.b64"},  // names are not this check's concern
      {"auth-leaf-other-ca", true, "auth-leaf-expired.b64"},
      {"auth-leaf-expired", false, "auth-leaf.b64"},
      {"auth-leaf-untrusted", false, "auth-leaf.b64"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<uint8_t> der = Certificate((std::string(c.name) + ".cer").c_str());
    const std::string validity = std::string("Certificate validity: ") + (c.valid ? "1" : "0");
    for (const bool fromFile : {false, true}) {
      bool isValid = !c.valid;
      LogCapture log("tarn-certificate-test");
      const std::wstring path = fromFile ? PkiFile(c.path) : L"";
      EXPECT_EQ(ValidateCertificate(isValid, path, der, fromFile, log.get()), 0u);
      EXPECT_EQ(isValid, c.valid);
      const Messages messages = log.Take();
      EXPECT_TRUE(ContainsInOrder(messages, {validity, "Finished validating the certificate"}));
      EXPECT_EQ(
          ContainsInOrder(messages, {"Open certificate from path: " + WideToSingleByte(path)}),
          fromFile);
    }
  }
}

TEST(ValidateCertificateTest, ARevokedCertificateIsRefusedWhenItsListIsAtHand) {
  // Without the list (no network, nothing cached) the revoked certificate still passes, as every
  // certificate does whose status cannot be learnt; with it, it is refused, and only it.
  for (const bool listed : {false, true}) {
    std::optional<ListedRevocation> list;
    if (listed) list.emplace(PkiFile("auth-ca.crl"));  // names auth-leaf-revoked
    for (const char* name : {"auth-leaf.cer", "auth-leaf-revoked.cer"}) {
      SCOPED_TRACE(testing::Message() << name << (listed ? " with" : " without") << " the list");
      const bool valid = !listed || std::string(name) == "auth-leaf.cer";
      bool isValid = !valid;
      EXPECT_EQ(ValidateCertificate(isValid, L"", Certificate(name), false, nullptr), 0u);
      EXPECT_EQ(isValid, valid);
    }
  }
}

TEST(ValidateCertificateTest, BytesThatAreNotOneCertificateAreTheSystemError) {
  // Two certificates in one PKCS #7 file, in either order, are no certificate: no verdict of
  // one of them may stand for the bytes.
  std::vector<std::vector<uint8_t>> inputs = {Bytes("not a certificate"), {}};
  for (const wchar_t* bundle : {L"expired-then-valid.p7b", L"valid-then-expired.p7b"}) {
    inputs.push_back(ReadFile(std::wstring(crypto_fixtures::kBundleDir) + L"\\" + bundle));
    ASSERT_FALSE(inputs.back().empty());
  }
  for (const std::vector<uint8_t>& input : inputs) {
    for (const bool fromFile : {false, true}) {
      SCOPED_TRACE(testing::Message() << input.size() << " bytes, from file " << fromFile);
      bool isValid = true;
      LogCapture log("tarn-certificate-error-test");
      EXPECT_NE(ValidateCertificate(isValid, PkiFile("auth-leaf.b64"), input, fromFile, log.get()),
                0u);
      EXPECT_FALSE(isValid);
      const std::string failure = fromFile
                                      ? "Failed to open certificate from path. Error code: "
                                      : "Failed to add encoded certificate to store. Error code: ";
      EXPECT_EQ(log.Take().back().rfind(failure, 0), 0u);
    }
  }
}

TEST(ReadCertificateFileTest, IntegratorFormsGiveTheCertificateTheRestStandsAsRead) {
  const std::vector<uint8_t> b64 = ReadFile(PkiFile("auth-leaf.b64"));
  const std::vector<uint8_t> pem = ReadFile(PkiFile("auth-leaf.pem"));
  const std::string junkPem = "-----BEGIN CERTIFICATE-----\nTWFu\n-----END CERTIFICATE-----\n";
  struct Case {
    const char* name;
    std::string file;
    bool certificate;  // else the file's bytes as UTF-8 text, as before
  } cases[] = {
      {"base64", std::string(b64.begin(), b64.end()), true},
      {"PEM", std::string(pem.begin(), pem.end()), true},
      {"PEM of no certificate", junkPem, false},
  };
  const TempDir temp;
  const std::wstring path = temp.path() / L"certificate.txt";
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::ofstream(path.c_str(), std::ios::binary) << c.file;
    std::wstring read;
    ASSERT_TRUE(ReadCertificateFile(path, read));
    if (c.certificate) {
      std::vector<uint8_t> der;
      ASSERT_EQ(DecodeBase64(der, read, nullptr), 0u);
      EXPECT_EQ(der, Certificate("auth-leaf.cer"));
    } else {
      EXPECT_EQ(read, Utf8ToWide(c.file));
    }
  }
  std::filesystem::remove(path);
  std::wstring untouched = L"x";
  EXPECT_FALSE(ReadCertificateFile(path, untouched));
  EXPECT_EQ(untouched, L"x");
}

TEST(ValidateCertificateInformationTest, SubjectAndIssuerMustBeTheServiceOnes) {
  struct Case {
    const char* file;
    bool valid;
    const char* last;  // last log message
  } cases[] = {
      {"auth-leaf.cer", true,
       "Finished validating certificate information. Certificate has valid information"},
      // Names only: the chain is ValidateCertificate's concern.
      {"auth-leaf-expired.cer", true,
       "Finished validating certificate information. Certificate has valid information"},
      {"auth-leaf-wrong-subject.cer", false,
       "Subjects are not the same: other-service.arvantis.example"},
      {"auth-leaf-other-ca.cer", false, "Issuers are not the same: TARN Test Other TLS CA"},
      {"auth-ca.cer", false,
       "Subjects are not the same: DigiCert Global G2 TLS RSA SHA256 2020 CA1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    bool isValid = !c.valid;
    LogCapture log("tarn-certificate-information-test");
    EXPECT_EQ(ValidateCertificateInformation(isValid, Certificate(c.file), log.get()), 0u);
    EXPECT_EQ(isValid, c.valid);
    EXPECT_EQ(log.Take().back(), c.last);
  }
  bool isValid = true;
  EXPECT_NE(ValidateCertificateInformation(isValid, Bytes("junk"), nullptr), 0u);
  EXPECT_FALSE(isValid);
}

TEST(ComputeSha256Test, KnownDigests) {
  // Python's hashlib.
  struct Case {
    std::string data;
    const char* digest;
  } cases[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
  };
  for (const Case& c : cases) {
    std::vector<uint8_t> digest;
    ASSERT_EQ(ComputeSha256(digest, reinterpret_cast<const uint8_t*>(c.data.data()), c.data.size(),
                            nullptr),
              0u);
    EXPECT_EQ(ToLowerHex(digest), c.digest) << c.data.size();
  }
}

TEST(VerifySignatureTest, SignatureMustBeByTheKeyAndBoundToTheCertificate) {
  using crypto_fixtures::kLeafSignature;
  using crypto_fixtures::kRekeyedSignature;
  using crypto_fixtures::kUnboundSignature;
  std::vector<uint8_t> tamperedMessage = kMessage;
  tamperedMessage[0] ^= 1;
  std::vector<uint8_t> tamperedSignature = kLeafSignature;
  tamperedSignature.back() ^= 1;
  const std::vector<uint8_t> none;
  struct Case {
    const char* name;
    const char* certificate;
    const std::vector<uint8_t>& signature;
    const std::vector<uint8_t>& message;
    bool verified;
  } cases[] = {
      {"signed by the certificate's key", "auth-leaf.cer", kLeafSignature, kMessage, true},
      {"another key and certificate", "auth-leaf-rekeyed.cer", kRekeyedSignature, kMessage, true},
      {"message changed", "auth-leaf.cer", kLeafSignature, tamperedMessage, false},
      {"signature changed", "auth-leaf.cer", tamperedSignature, kMessage, false},
      {"other key", "auth-leaf.cer", kRekeyedSignature, kMessage, false},
      {"not bound to the certificate", "auth-leaf.cer", kUnboundSignature, kMessage, false},
      {"no signature", "auth-leaf.cer", none, kMessage, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    LogCapture log("tarn-signature-test");
    EXPECT_EQ(VerifySignature(Certificate(c.certificate), c.signature, c.message, log.get()),
              c.verified);
    const std::string last = log.Take().back();
    EXPECT_EQ(last.rfind(c.verified ? "Finished verifying signature successfully"
                                    : "Failed to verify signature. Error code: ",
                         0),
              0u);
  }
}

}  // namespace
}  // namespace tarn
