#include "auth/module_signature.h"

#include <gtest/gtest.h>

#include <vector>

namespace tarn {
namespace {

// Provider answers fabricated step by step.
struct FakeTrust final : TrustVerification {
  int32_t verify = 0;
  bool providerData = true;
  bool primarySigner = true;
  std::vector<bool> counterSignersTimestamp = {true};
  bool certificate = true;
  std::wstring commonName = std::wstring(L"Arvantis SRL") + L'\0';
  uint32_t lastError = 0;
  uint32_t closeError = 0;
  int closed = 0;

  int32_t Verify(const std::wstring&) override { return verify; }
  bool ProviderData() override { return providerData; }
  bool PrimarySigner() override { return primarySigner; }
  uint32_t CounterSignerCount() override {
    return static_cast<uint32_t>(counterSignersTimestamp.size());
  }
  bool CounterSignerIsTimestamp(uint32_t index) override { return counterSignersTimestamp[index]; }
  bool SigningCertificate() override { return certificate; }
  std::wstring SigningCertificateCommonName(Logger*) override { return commonName; }
  uint32_t Close() override {
    ++closed;
    return closeError;
  }
  uint32_t LastError() override { return lastError; }
};

TEST(ModuleSignatureTest, EachStepDecidesItsOwnResult) {
  struct Case {
    const char* name;
    void (*arrange)(FakeTrust&);
    uint32_t result;
    bool valid;
    int closed;
  } cases[] = {
      {"valid", [](FakeTrust&) {}, 0, true, 1},
      {"timestamp after another counter-signer",
       [](FakeTrust& t) {
         t.counterSignersTimestamp = {false, true};
       },
       0, true, 1},
      {"untrusted", [](FakeTrust& t) { t.verify = static_cast<int32_t>(0x800B0109); }, 0x800B0109,
       false, 0},
      {"no provider data",
       [](FakeTrust& t) { t.providerData = false, t.lastError = 87, t.closeError = 6; }, 6, false,
       1},
      {"no primary signer, close leaves 0",
       [](FakeTrust& t) { t.primarySigner = false, t.closeError = 0; }, 0, false, 1},
      {"no counter-signers", [](FakeTrust& t) { t.counterSignersTimestamp = {}; }, 5007, false, 1},
      {"no timestamp counter-signer",
       [](FakeTrust& t) {
         t.counterSignersTimestamp = {false, false};
       },
       4316, false, 1},
      {"no signing certificate", [](FakeTrust& t) { t.certificate = false, t.closeError = 1359; },
       1359, false, 1},
      {"other letter case",
       [](FakeTrust& t) { t.commonName = std::wstring(L"ARVANTIS SRL") + L'\0'; }, 1168, false, 1},
      {"name is a prefix", [](FakeTrust& t) { t.commonName = L"Arvantis"; }, 1168, false, 1},
      {"no name", [](FakeTrust& t) { t.commonName = L""; }, 1168, false, 1},
      {"name without its terminator", [](FakeTrust& t) { t.commonName = L"Arvantis SRL"; }, 0, true,
       1},
      {"null inside the name",
       [](FakeTrust& t) { t.commonName = std::wstring(L"Arvantis SRL\0 Ltd", 17) + L'\0'; }, 1168,
       false, 1},
  };
  for (const auto& c : cases) {
    FakeTrust trust;
    c.arrange(trust);
    bool valid = !c.valid;
    EXPECT_EQ(ValidateModuleSignature(trust, valid, L"C:\\agent\\oxsdk.dll", kMakerSigner, nullptr),
              c.result)
        << c.name;
    EXPECT_EQ(valid, c.valid) << c.name;
    EXPECT_EQ(trust.closed, c.closed) << c.name;
  }
}

}  // namespace
}  // namespace tarn
