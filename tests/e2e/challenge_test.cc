// "-getchallenge" end to end: the answer and the nonce it leaves in the registry, read from
// outside the tool. The nonce key is one per prefix, so ctest runs these tests one at a time.
#include "auth/challenge.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "auth/crypto.h"
#include "base/test_log_capture.h"
#include "base/win_handles.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

constexpr char kKeyPath[] = "Software\\ArvantisAuthService";

class GetChallengeTest : public testing::Test {
 protected:
  void TearDown() override { RegDeleteKeyA(HKEY_CURRENT_USER, kKeyPath); }

  // The "nonce" value, read with the one right it needs, and its type.
  static std::vector<uint8_t> StoredNonce(DWORD* type = nullptr) {
    UniqueHkey key;
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kKeyPath, 0, KEY_QUERY_VALUE, key.put()), 0);
    std::vector<uint8_t> data(256);
    DWORD size = static_cast<DWORD>(data.size());
    EXPECT_EQ(RegQueryValueExA(key.get(), "nonce", nullptr, type, data.data(), &size), 0);
    data.resize(size);
    return data;
  }
};

// Each run replaces the nonce, also for the same text; another argument count leaves it. The key's
// access list is checked by the authorization end-to-end test, which must open it up.
TEST_F(GetChallengeTest, AnswerIsTheChallengeOfAFreshStoredNonceAndTheText) {
  const std::wstring base64 = L"MIIBAjCCAQ+gAwIBAgIUZm9yIHRoZSBjaGFsbGVuZ2U=";
  std::vector<uint8_t> previous;
  for (const std::wstring& text : {base64, std::wstring(L"caf\u00e9 \u20ac"), base64}) {
    SCOPED_TRACE(testing::PrintToString(text));
    Sandbox box;
    const ToolRun run = box.Run({L"-getchallenge", text});
    DWORD type = 0;
    const std::vector<uint8_t> nonce = StoredNonce(&type);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(nonce.size(), 16u);
    EXPECT_NE(nonce, previous);
    previous = nonce;
    // The answer is the product's own computation of the challenge, whose pieces and text form
    // (64 lower-case hex digits) have known-answer tests (auth/challenge_test.cc,
    // auth/crypto_win_test.cc).
    std::string expected;
    EXPECT_EQ(ComputeChallenge(expected, nonce, text, ComputeSha256, nullptr), 0u);
    EXPECT_EQ(run, (ToolRun{0, expected}));
    EXPECT_TRUE(ContainsInOrder(
        box.LogMessages(),
        {"Registry key security descriptor set successfully", "Challenge retrieved successfully"}));
  }
  // One argument too few and one too many.
  for (const auto& args : {std::vector<std::wstring>{L"-getchallenge"},
                           std::vector<std::wstring>{L"-getchallenge", L"a", L"b"}}) {
    SCOPED_TRACE(args.size());
    Sandbox box;
    EXPECT_EQ(box.Run(args), (ToolRun{160, ""}));
    EXPECT_EQ(box.LogMessages().back(), "Invalid arguments");
  }
  EXPECT_EQ(StoredNonce(), previous);
}

}  // namespace
}  // namespace tarn::e2e
