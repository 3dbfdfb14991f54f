#include "auth/challenge.h"

#include <algorithm>

#include "base/log.h"
#include "base/text.h"

namespace tarn {

std::vector<uint8_t> NonceSymbols(const std::vector<uint8_t>& randomBytes) {
  static_assert(sizeof(kNonceSymbols) - 1 == 64, "the low six bits of a byte pick the symbol");
  std::vector<uint8_t> nonce;
  nonce.reserve(randomBytes.size());
  for (uint8_t byte : randomBytes) nonce.push_back(static_cast<uint8_t>(kNonceSymbols[byte & 63]));
  return nonce;
}

std::string AuthorizationTextBytes(const std::wstring& authorizationText) {
  return WideToSingleByte(authorizationText);
}

uint32_t ComputeChallenge(std::string& challenge, const std::vector<uint8_t>& nonce,
                          const std::wstring& authorizationText, Sha256Function sha256,
                          Logger* log) {
  WriteLog(log, L"Compute hash for message data");
  const std::string text = AuthorizationTextBytes(authorizationText);
  std::vector<uint8_t> textHash;
  if (const uint32_t code =
          sha256(textHash, reinterpret_cast<const uint8_t*>(text.data()), text.size(), log)) {
    WriteLog(log, L"Failed to compute hash. Error code: " + std::to_wstring(code));
    return code;
  }

  WriteLog(log, L"Compute hash for challenge");
  std::vector<uint8_t> input = nonce;
  input.insert(input.end(), textHash.begin(), textHash.end());
  std::vector<uint8_t> digest;
  if (const uint32_t code = sha256(digest, input.data(), input.size(), log)) {
    WriteLog(log, L"Failed to compute hash. Error code: " + std::to_wstring(code));
    return code;
  }
  challenge = ToLowerHex(digest);
  return 0;
}

bool ChallengeMatches(const std::string& computed, const std::vector<uint8_t>& signedChallenge) {
  return signedChallenge.size() >= computed.size() &&
         std::equal(computed.begin(), computed.end(), signedChallenge.begin(),
                    [](char c, uint8_t b) { return static_cast<uint8_t>(c) == b; });
}

uint32_t ValidateChallenge(bool& isValid, const std::vector<uint8_t>& nonce,
                           const SignedTimeMessage& signedTime, const std::wstring& authTokenText,
                           Sha256Function sha256, Logger* log) {
  isValid = false;
  std::string computed;
  if (const uint32_t code = ComputeChallenge(computed, nonce, authTokenText, sha256, log)) {
    return code;
  }
  isValid = ChallengeMatches(computed, signedTime.challenge);
  WriteLog(log, L"Finished to validate challenge. Challenge valid value is: " +
                    std::to_wstring(isValid));
  return 0;
}

}  // namespace tarn
