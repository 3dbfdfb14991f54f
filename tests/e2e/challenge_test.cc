// "-getchallenge" end to end: the answer and the nonce it leaves in the registry, read from
// outside the tool. The nonce key is one per prefix, so ctest runs these tests one at a time.
#include "auth/challenge.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <regex>

#include "auth/crypto.h"
#include "base/test_log_capture.h"
#include "base/win_handles.h"
#include "tests/e2e/tool_runner.h"

namespace tarn::e2e {
namespace {

using Messages = std::vector<std::string>;

constexpr char kKeyPath[] = "Software\\ArvantisAuthService";

// The challenge of `nonce` and `text`; the computation's pieces have known-answer tests of
// their own (auth/challenge_test.cc, auth/crypto_win_test.cc).
std::string ExpectedChallenge(const std::vector<uint8_t>& nonce, const std::wstring& text) {
  std::string challenge;
  EXPECT_EQ(ComputeChallenge(challenge, nonce, text, ComputeSha256, nullptr), 0u);
  return challenge;
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
  for (const wchar_t* text :
       {L"MIIBAjCCAQ+gAwIBAgIUZm9yIHRoZSBjaGFsbGVuZ2U=", L"caf\u00e9 \u20ac"}) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(text)));
    Sandbox box;
    box.EnableLogging();
    const ToolRun run = box.Run({L"-getchallenge", text});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_TRUE(std::regex_match(run.out, std::regex("[0-9a-f]{64}"))) << run.out;

    DWORD type = 0;
    const std::vector<uint8_t> nonce = StoredNonce(type);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(nonce.size(), 16u);
    EXPECT_EQ(run.out, ExpectedChallenge(nonce, text));
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
  EXPECT_EQ(second.out, ExpectedChallenge(secondNonce, L"same text"));
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
