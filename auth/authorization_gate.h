// The authorization gate: decides, before any handler runs, whether the command may run. Guarded
// commands need a certificate, a signed authorization message and a signed execution time from
// the authorization service, verified offline against this endpoint and a challenge that the
// challenge command issued.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "auth/auth_messages.h"

namespace tarn {

class Logger;

// Command word -> the permission an authorization must grant for it.
extern const std::map<std::wstring, uint32_t> CommandPermissions;
// Guarded commands that may still run without the service, when no option is given.
extern const std::set<std::wstring> LegacySupportedCommands;

// What the gate needs from the platform, the agent and the crypto services; one seam, so that
// the gate's own decisions are tested with fabricated answers.
class AuthorizationServices {
 public:
  virtual ~AuthorizationServices() = default;
  /// False when the file cannot be opened; `text` then untouched.
  virtual bool ReadCertificateFile(const std::wstring& path, std::wstring& text) = 0;
  // The functions of the same names in auth/crypto.h, nonce_store.h and challenge.h.
  /// 0, or the platform's error with `bytes` untouched.
  [[nodiscard]] virtual uint32_t DecodeBase64(std::vector<uint8_t>& bytes, const std::wstring& text,
                                              Logger* log) = 0;
  /// 0 with the verdict in `isValid`, or the platform's error with `isValid` false.
  [[nodiscard]] virtual uint32_t ValidateCertificate(bool& isValid,
                                                     const std::wstring& certificatePath,
                                                     const std::vector<uint8_t>& certificateBytes,
                                                     bool fromFile, Logger* log) = 0;
  /// 0 with the verdict in `isValid`, or the platform's error with `isValid` false.
  [[nodiscard]] virtual uint32_t ValidateCertificateInformation(
      bool& isValid, const std::vector<uint8_t>& certificateBytes, Logger* log) = 0;
  virtual bool VerifySignature(const std::vector<uint8_t>& certificateBytes,
                               const std::vector<uint8_t>& signature,
                               const std::vector<uint8_t>& messageBytes, Logger* log) = 0;
  // Holds the nonce against every other run from before it is read until it is deleted
  // (NonceLock); released by UnlockNonce or with the services.
  /// 0 once held, or the lock's code (logged) with nothing held.
  [[nodiscard]] virtual uint32_t LockNonce(Logger* log) = 0;
  virtual void UnlockNonce() = 0;
  /// 0, or the registry's error with `nonce` untouched.
  [[nodiscard]] virtual uint32_t ReadNonce(std::vector<uint8_t>& nonce, Logger* log) = 0;
  /// 0 with the verdict in `isValid`, or the hash's code with `isValid` false.
  [[nodiscard]] virtual uint32_t ValidateChallenge(bool& isValid, const std::vector<uint8_t>& nonce,
                                                   const SignedTimeMessage& signedTime,
                                                   const std::wstring& authToken, Logger* log) = 0;
  /// 0, or the registry's error.
  [[nodiscard]] virtual uint32_t DeleteNonceKey(Logger* log) = 0;
  /// 0, or the failing status with `digest` untouched.
  [[nodiscard]] virtual uint32_t ComputeSha256(std::vector<uint8_t>& digest,
                                               const std::string& data, Logger* log) = 0;
};

// What the gate learns of this endpoint from the agent bridge, a layer this one may not include:
// app/ hands the real functions over with each call.
struct IdentityServices {
  // Where the agent's configuration file is, and whether the agent's services run.
  /// As LocateAgentConfigFile: 0, 2 with the legacy path, or the registry's error.
  std::function<uint32_t(std::wstring& path, uint8_t& servicesRunning, Logger* log)>
      locateAgentConfigFile;
  // The hardware id in the agent's configuration file.
  /// 0, or the file's code with `hardwareId` untouched.
  std::function<uint32_t(const std::wstring& configPath, std::string& hardwareId, Logger* log)>
      readHardwareId;
  // The identity from the agent (asked first when `askAgent`) and its configuration file.
  /// 30 when the agent was not asked, else the agent's code; what could not be had stays empty.
  std::function<uint32_t(std::string& hardwareId, const std::wstring& configPath, bool askAgent,
                         Logger* log)>
      getEndpointInformation;
};

// Gathers the permissions the command in `arguments` needs; false when it needs none.
bool IsCommandToBeAuthorized(std::vector<uint32_t>& requiredPermissions,
                             const std::vector<std::wstring>& arguments, int32_t argumentCount,
                             Logger* log);
// Appends the permission of each word; false at the first word without one.
bool FindAuthorizedCommands(std::vector<uint32_t>& requiredPermissions,
                            const std::vector<std::wstring>& commandWords, Logger* log);

// Takes the authorization options out of `arguments`, lowering `argumentCount` by 2 per pair.
/// 0 when a verdict was reached (it is in `authorized`), or a code that ends the process (85, 87,
/// 110, 20, 30 or the failing step's code) with `authorized` false.
[[nodiscard]] uint32_t ValidateAuthorization(const IdentityServices& identity, bool& authorized,
                                             bool& authorizationServiceUsed,
                                             std::vector<std::wstring>& arguments,
                                             int32_t& argumentCount);
/// As above, with the platform's services given.
[[nodiscard]] uint32_t ValidateAuthorization(AuthorizationServices& services,
                                             const IdentityServices& identity, bool& authorized,
                                             bool& authorizationServiceUsed,
                                             std::vector<std::wstring>& arguments,
                                             int32_t& argumentCount, Logger* log);

}  // namespace tarn
