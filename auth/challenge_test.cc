#include "auth/challenge.h"

#include <gtest/gtest.h>

#include <cctype>
#include <map>

#include "base/test_log_capture.h"

namespace tarn {
namespace {

std::vector<uint8_t> FromHex(const std::string& hex) {
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

std::vector<uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

// Known answers, computed with Python's hashlib: H1 = SHA-256(text bytes), and the challenge
// = hex SHA-256(nonce || H1).
struct Vector {
  const char* name;
  const char* nonce;
  std::wstring text;
  std::string textBytes;  // what the text must hash as
  const char* h1;
  const char* challenge;
};

const Vector kVectors[] = {
    {"base64 text", "000102030405060708090a0b0c0d0e0f", L"MIIBfixture", "MIIBfixture",
     "0507c6d094255118a9f6275cceb22e2356b1381e35e3d6448d6c2b1103740f71",
     "42fc120c1aa3a138442863b373187a682a1dd35cc1e6d0c778da87f7c91c285d"},
    {"empty text", "ffffffffffffffffffffffffffffffff", L"", "",
     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
     "2033f5f2224e0a4448266d93e2e369b62e2ea16d3438c8a86ed56299089fd64c"},
    {"characters beyond ASCII", "f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff", L"a\u00e9\u4e2d",
     std::string("a\xe9?"), "e9bb08303c845eafa60b61f6fb43ec954101214513f68fc54d9f5097b1618ae1",
     "9a45aebd957ebb796a1f0792ec56be290359427dafb13924f690466a6acc7532"},
};

// SHA-256 by table: answers only the inputs the vectors name, so a wrong input fails loudly (the
// text's bytes included: ComputeChallenge hashes AuthorizationTextBytes of the text).
std::map<std::vector<uint8_t>, std::vector<uint8_t>> knownDigests;
int hashCalls = 0;
int failAtCall = 0;  // 1-based; 0 never
constexpr uint32_t kHashFailure = 0xC0000017;

uint32_t TableSha256(std::vector<uint8_t>& digest, const uint8_t* data, size_t length, Logger*) {
  if (++hashCalls == failAtCall) return kHashFailure;
  const auto found = knownDigests.find(std::vector<uint8_t>(data, data + length));
  if (found == knownDigests.end()) {
    ADD_FAILURE() << "hashed an unexpected input of " << length << " bytes";
    return 1;
  }
  digest = found->second;
  return 0;
}

class ChallengeTest : public testing::Test {
 protected:
  void SetUp() override {
    knownDigests.clear();
    hashCalls = 0;
    failAtCall = 0;
    for (const Vector& v : kVectors) {
      knownDigests[Bytes(v.textBytes)] = FromHex(v.h1);
      std::vector<uint8_t> inner = FromHex(v.nonce);
      const std::vector<uint8_t> h1 = FromHex(v.h1);
      inner.insert(inner.end(), h1.begin(), h1.end());
      knownDigests[inner] = FromHex(v.challenge);
    }
  }
};

TEST_F(ChallengeTest, KnownVectorsGiveTheirChallengeAndValidateOnlyThemselves) {
  for (size_t i = 0; i < std::size(kVectors); ++i) {
    const Vector& v = kVectors[i];
    SCOPED_TRACE(v.name);
    std::string challenge;
    ASSERT_EQ(ComputeChallenge(challenge, FromHex(v.nonce), v.text, TableSha256, nullptr), 0u);
    EXPECT_EQ(challenge, v.challenge);

    // Signed for this nonce and text, then for another vector's.
    for (const Vector& signer : {v, kVectors[(i + 1) % std::size(kVectors)]}) {
      SignedTimeMessage signedTime;
      signedTime.challenge = Bytes(signer.challenge);
      LogCapture log("tarn-challenge-test");
      bool isValid = signer.challenge != v.challenge;  // the verdict's opposite
      EXPECT_EQ(
          ValidateChallenge(isValid, FromHex(v.nonce), signedTime, v.text, TableSha256, log.get()),
          0u);
      EXPECT_EQ(isValid, signer.challenge == v.challenge);
      EXPECT_EQ(log.Take().back(), std::string("Finished to validate challenge. Challenge valid "
                                               "value is: ") +
                                       (isValid ? "1" : "0"));
    }
  }
}

TEST(ChallengeMatchesTest, ComparesOverTheComputedLengthOnly) {
  const std::string computed = kVectors[0].challenge;
  std::string upper = computed;
  for (char& c : upper) c = static_cast<char>(toupper(c));
  std::string lastDigitOff = computed;
  lastDigitOff.back() = lastDigitOff.back() == '0' ? '1' : '0';
  struct Case {
    const char* name;
    std::string signedChallenge;
    bool matches;
  } cases[] = {
      {"longer, same start", computed + "00", true},
      {"one byte short", computed.substr(0, 63), false},
      {"last digit differs", lastDigitOff, false},
      {"upper case", upper, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ChallengeMatches(computed, Bytes(c.signedChallenge)), c.matches) << c.name;
  }
}

// Every byte value picks one of 64 distinct ASCII symbols, each symbol by exactly four values:
// six uniform bits a symbol, none of them lost to a bias or a repeated symbol.
TEST(NonceSymbolsTest, EveryByteValuePicksAnAsciiSymbolUniformly) {
  std::vector<uint8_t> everyByte(256);
  for (int b = 0; b < 256; ++b) everyByte[b] = static_cast<uint8_t>(b);
  const std::vector<uint8_t> nonce = NonceSymbols(everyByte);
  ASSERT_EQ(nonce.size(), 256u);
  std::map<uint8_t, int> counts;
  for (uint8_t symbol : nonce) {
    EXPECT_TRUE(isalnum(symbol) || symbol == '-' || symbol == '_') << int{symbol};
    ++counts[symbol];
  }
  EXPECT_EQ(counts.size(), 64u);
  for (const auto& [symbol, count] : counts) EXPECT_EQ(count, 4) << symbol;
}

TEST_F(ChallengeTest, HashFailureIsReturnedAndLogged) {
  const Vector& v = kVectors[0];
  SignedTimeMessage signedTime;
  signedTime.challenge = Bytes(v.challenge);
  for (int failing : {1, 2}) {
    SCOPED_TRACE(failing);
    hashCalls = 0;
    failAtCall = failing;
    LogCapture log("tarn-challenge-test");
    std::string challenge = "untouched";
    EXPECT_EQ(ComputeChallenge(challenge, FromHex(v.nonce), v.text, TableSha256, log.get()),
              kHashFailure);
    EXPECT_EQ(challenge, "untouched");
    EXPECT_EQ(log.Take().back(), "Failed to compute hash. Error code: 3221225495");

    hashCalls = 0;
    bool isValid = true;
    EXPECT_EQ(
        ValidateChallenge(isValid, FromHex(v.nonce), signedTime, v.text, TableSha256, nullptr),
        kHashFailure);
    EXPECT_FALSE(isValid);
  }
}

}  // namespace
}  // namespace tarn
