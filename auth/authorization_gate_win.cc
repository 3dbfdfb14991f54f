// The gate's services on Windows: crypt32 and bcrypt, the nonce store, the certificate file.
#include "auth/authorization_gate.h"
#include "auth/certificate_file.h"
#include "auth/challenge.h"
#include "auth/crypto.h"
#include "auth/nonce_store.h"
#include "base/process_state.h"

namespace tarn {
namespace {

class WinAuthorizationServices final : public AuthorizationServices {
 public:
  bool ReadCertificateFile(const std::wstring& path, std::wstring& text) override {
    return tarn::ReadCertificateFile(path, text);
  }
  uint32_t DecodeBase64(std::vector<uint8_t>& bytes, const std::wstring& text,
                        Logger* log) override {
    return tarn::DecodeBase64(bytes, text, log);
  }
  uint32_t ValidateCertificate(bool& isValid, const std::wstring& certificatePath,
                               const std::vector<uint8_t>& certificateBytes, bool fromFile,
                               Logger* log) override {
    return tarn::ValidateCertificate(isValid, certificatePath, certificateBytes, fromFile, log);
  }
  uint32_t ValidateCertificateInformation(bool& isValid,
                                          const std::vector<uint8_t>& certificateBytes,
                                          Logger* log) override {
    return tarn::ValidateCertificateInformation(isValid, certificateBytes, log);
  }
  bool VerifySignature(const std::vector<uint8_t>& certificateBytes,
                       const std::vector<uint8_t>& signature,
                       const std::vector<uint8_t>& messageBytes, Logger* log) override {
    return tarn::VerifySignature(certificateBytes, signature, messageBytes, log);
  }
  uint32_t LockNonce(Logger* log) override { return nonceLock_.Acquire(log); }
  void UnlockNonce() override { nonceLock_.Release(); }
  uint32_t ReadNonce(std::vector<uint8_t>& nonce, Logger* log) override {
    return tarn::ReadNonce(nonce, log);
  }
  uint32_t ValidateChallenge(bool& isValid, const std::vector<uint8_t>& nonce,
                             const SignedTimeMessage& signedTime, const std::wstring& authToken,
                             Logger* log) override {
    return tarn::ValidateChallenge(isValid, nonce, signedTime, authToken, log);
  }
  uint32_t DeleteNonceKey(Logger* log) override { return tarn::DeleteNonceKey(log); }
  uint32_t ComputeSha256(std::vector<uint8_t>& digest, const std::string& data,
                         Logger* log) override {
    return tarn::ComputeSha256(digest, reinterpret_cast<const uint8_t*>(data.data()), data.size(),
                               log);
  }

 private:
  NonceLock nonceLock_;
};

}  // namespace

uint32_t ValidateAuthorization(const IdentityServices& identity, bool& authorized,
                               bool& authorizationServiceUsed, std::vector<std::wstring>& arguments,
                               int32_t& argumentCount) {
  WinAuthorizationServices services;
  return ValidateAuthorization(services, identity, authorized, authorizationServiceUsed, arguments,
                               argumentCount, LogHandle);
}

}  // namespace tarn
