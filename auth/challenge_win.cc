// The challenge on the platform: SHA-256 from the crypto services, the nonce from the registry.
#include <windows.h>

#include "auth/challenge.h"
#include "auth/crypto.h"
#include "auth/nonce_store.h"
#include "base/log.h"
#include "base/result_codes.h"

namespace tarn {

uint32_t ValidateChallenge(bool& isValid, const std::vector<uint8_t>& nonce,
                           const SignedTimeMessage& signedTime, const std::wstring& authTokenText,
                           Logger* log) {
  return ValidateChallenge(isValid, nonce, signedTime, authTokenText, ComputeSha256, log);
}

uint32_t GetChallenge(std::string& challenge, const std::wstring& data, Logger* log) {
  WriteLog(log, L"Delete nonce registry key");
  // Held until the new nonce is stored: a gate between the delete and the store would find no
  // nonce, and one that read the old nonce must have deleted it before the new one lands.
  NonceLock lock;
  if (const uint32_t code = lock.Acquire(log)) return code;
  // No key means no earlier challenge: nothing to replace.
  if (const uint32_t code = DeleteNonceKey(log); code != 0 && code != kErrorFileNotFound) {
    WriteLog(log, L"Failed to delete registry key. Error code: " + std::to_wstring(code));
    return code;
  }

  WriteLog(log, L"Generate random number");
  std::vector<uint8_t> random;
  if (const uint32_t code = GenerateRandomBytes(random, log)) {
    WriteLog(log, L"Failed to generate random number. Error code: " + std::to_wstring(code));
    return code;
  }
  const std::vector<uint8_t> nonce = NonceSymbols(random);

  std::string computed;
  if (const uint32_t code = ComputeChallenge(computed, nonce, data, ComputeSha256, log)) {
    return code;  // logged by the computation
  }

  WriteLog(log, L"Create nonce registry key");
  if (const uint32_t code = StoreNonce(nonce, log)) {
    WriteLog(log, L"Failed to create registry. Error code: " + std::to_wstring(code));
    return code;
  }
  WriteLog(log, L"Finished retrieving challenge");
  challenge = std::move(computed);
  return 0;
}

}  // namespace tarn
