// "-getchallenge" end to end: the answer and the nonce it leaves in the registry, checked from
// outside the tool. The nonce key is one per prefix, so ctest runs these tests one at a time.
// SHA-256 comes from the legacy CryptoAPI here, not from the tool's own code.
#include <windows.h>
// clang-format off
#include <wincrypt.h>
// clang-format on

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>

#include "base/test_log_capture.h"
#include "base/win_handles.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

using Messages = std::vector<std::string>;

constexpr char kKeyPath[] = "Software\\ArvantisAuthService";

inline void ReleaseProvider(HCRYPTPROV provider) { CryptReleaseContext(provider, 0); }
using UniqueProvider = UniqueHandle<handle_traits::Traits<HCRYPTPROV, 0, ReleaseProvider>>;
using UniqueHash = UniqueHandle<handle_traits::Traits<HCRYPTHASH, 0, CryptDestroyHash>>;

std::vector<uint8_t> Sha256(const std::vector<uint8_t>& data) {
  UniqueProvider provider;
  EXPECT_TRUE(
      CryptAcquireContextW(provider.put(), nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT));
  UniqueHash hash;
  EXPECT_TRUE(CryptCreateHash(provider.get(), CALG_SHA_256, 0, 0, hash.put()));
  EXPECT_TRUE(CryptHashData(hash.get(), data.data(), static_cast<DWORD>(data.size()), 0));
  std::vector<uint8_t> digest(32);
  DWORD size = static_cast<DWORD>(digest.size());
  EXPECT_TRUE(CryptGetHashParam(hash.get(), HP_HASHVAL, digest.data(), &size, 0));
  return digest;
}

// hex(SHA-256(nonce || SHA-256(text))), the text one byte per character.
std::string ExpectedChallenge(const std::vector<uint8_t>& nonce, const std::string& text) {
  std::vector<uint8_t> input = nonce;
  const std::vector<uint8_t> inner = Sha256({text.begin(), text.end()});
  input.insert(input.end(), inner.begin(), inner.end());
  std::string hex;
  char digits[3];
  for (uint8_t byte : Sha256(input)) {
    snprintf(digits, sizeof digits, "%02x", byte);
    hex += digits;
  }
  return hex;
}

class GetChallengeTest : public testing::Test {
 protected:
  void TearDown() override { RegDeleteKeyA(HKEY_CURRENT_USER, kKeyPath); }

  // The "nonce" value, read with the one right it needs, and its type.
  static std::vector<uint8_t> StoredNonce(DWORD& type) {
    UniqueHkey key;
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kKeyPath, 0, KEY_QUERY_VALUE, key.put()), 0);
    std::vector<uint8_t> data(256);
    DWORD size = static_cast<DWORD>(data.size());
    EXPECT_EQ(RegQueryValueExA(key.get(), "nonce", nullptr, &type, data.data(), &size), 0);
    data.resize(size);
    return data;
  }
  static std::vector<uint8_t> StoredNonce() {
    DWORD type;
    return StoredNonce(type);
  }

};

TEST_F(GetChallengeTest, AnswerIsTheChallengeOfTheStoredNonceAndTheText) {
  struct Case {
    const wchar_t* text;
    std::string bytes;  // what the challenge binds
  } cases[] = {
      {L"MIIBAjCCAQ+gAwIBAgIUZm9yIHRoZSBjaGFsbGVuZ2U=",
       "MIIBAjCCAQ+gAwIBAgIUZm9yIHRoZSBjaGFsbGVuZ2U="},
      {L"caf\u00e9 \u20ac", "caf\xe9 ?"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bytes);
    Sandbox box;
    box.EnableLogging();
    const ToolRun run = box.Run({L"-getchallenge", c.text});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_TRUE(std::regex_match(run.out, std::regex("[0-9a-f]{64}"))) << run.out;

    DWORD type = 0;
    const std::vector<uint8_t> nonce = StoredNonce(type);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(nonce.size(), 16u);
    EXPECT_EQ(run.out, ExpectedChallenge(nonce, c.bytes));
    EXPECT_TRUE(ContainsInOrder(
        box.LogMessages(),
        {"Get challenge command", "Get challenge", "Delete nonce registry key",
         "Finished to generate random number successfully", "Create nonce registry key",
         "Registry key security descriptor set successfully",
         "Finished creating registry successfully", "Finished retrieving challenge",
         "Challenge retrieved successfully"}));
  }
}

// The key's access list is checked by the authorization end-to-end test, which must open it up.
TEST_F(GetChallengeTest, SecondChallengeReplacesTheFirst) {
  Sandbox box;
  const ToolRun first = box.Run({L"-getchallenge", L"same text"});
  const std::vector<uint8_t> firstNonce = StoredNonce();
  const ToolRun second = box.Run({L"-getchallenge", L"same text"});
  const std::vector<uint8_t> secondNonce = StoredNonce();
  ASSERT_EQ(first.exitCode, 0u);
  ASSERT_EQ(second.exitCode, 0u);
  EXPECT_NE(first.out, second.out);
  EXPECT_NE(firstNonce, secondNonce);
  EXPECT_EQ(second.out, ExpectedChallenge(secondNonce, "same text"));
}

TEST_F(GetChallengeTest, OtherArgumentCountsGive160AndKeepTheNonce) {
  Sandbox box;
  ASSERT_EQ(box.Run({L"-getchallenge", L"text"}).exitCode, 0u);
  const std::vector<uint8_t> nonce = StoredNonce();
  box.EnableLogging();
  for (const auto& args : {std::vector<std::wstring>{L"-getchallenge"},
                           std::vector<std::wstring>{L"-getchallenge", L"a", L"b"},
                           std::vector<std::wstring>{L"-GETCHALLENGE", L"a", L"b", L"c"}}) {
    SCOPED_TRACE(args.size());
    const ToolRun run = box.Run(args);
    EXPECT_EQ(run.exitCode, 160u);
    EXPECT_EQ(run.out, "");
    const Messages messages = box.LogMessages();
    EXPECT_EQ(Messages(messages.end() - 3, messages.end()),
              (Messages{"Get challenge command", "Get challenge", "Invalid arguments"}));
    std::filesystem::remove(box.dir() / "log.txt");
  }
  EXPECT_EQ(StoredNonce(), nonce);
}

}  // namespace
}  // namespace tarn::e2e
