#include "auth/authorization_gate.h"

#include <algorithm>
#include <iterator>

#include "base/command_facts.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "base/unique_handle.h"

namespace tarn {

namespace {

std::map<std::wstring, uint32_t> PermissionsOfTheRows() {
  std::map<std::wstring, uint32_t> permissions;
  for (const CommandFacts& facts : kCommandFacts) {
    for (const RequiredPermission& required : facts.permissions) {
      if (required.permission != nullptr) {
        permissions.emplace(required.permission->word, required.permission->number);
      }
    }
  }
  return permissions;
}

std::set<std::wstring> LegacyRows() {
  std::set<std::wstring> words;
  for (const CommandFacts& facts : kCommandFacts) {
    if (facts.legacySupport) words.insert(facts.word);
  }
  return words;
}

}  // namespace

const std::map<std::wstring, uint32_t> CommandPermissions = PermissionsOfTheRows();
const std::set<std::wstring> LegacySupportedCommands = LegacyRows();

namespace {

// The four options, in the order their log lines name them.
enum Option { kAuthToken, kCertificatePath, kCertificate, kExecutionTime, kOptionCount };

struct OptionWord {
  const wchar_t* word;
  const wchar_t* found;
  const wchar_t* repeated;
};
constexpr OptionWord kOptionWords[kOptionCount] = {
    {L"-authtoken", L"AuthToken is found", L"AuthToken is already assigned"},
    {L"-certificatepath", L"CertificatePath is found", L"CertificatePath is already assigned"},
    {L"-certificate", L"Certificate is found", L"Certificate is already assigned"},
    {L"-executiontime", L"ExecutionTime is found", L"ExecutionTime is already assigned"},
};

// Takes every option and its value out of the argument list, scanning from the end back to the
// first argument after the command word.
/// 0, 85 for an option given twice, or 87 for an option without a value.
[[nodiscard]] uint32_t TakeOptions(std::vector<std::wstring>& arguments, int32_t& argumentCount,
                                   std::wstring (&values)[kOptionCount],
                                   bool (&given)[kOptionCount], Logger* log) {
  if (argumentCount < 3) return 0;
  for (int32_t index = argumentCount - 1; index >= 2; --index) {
    const std::wstring word = ToLowerWide(arguments[index]);
    for (int option = 0; option < kOptionCount; ++option) {
      if (word != kOptionWords[option].word) continue;
      WriteLog(log, kOptionWords[option].found);
      if (given[option]) {
        WriteLog(log, kOptionWords[option].repeated);
        return kErrorOptionRepeated;
      }
      if (index + 1 >= argumentCount) {  // the option is the last word: no value follows
        WriteLog(log, L"One or more of the parameters are not set");
        return kErrorOptionsIncomplete;
      }
      given[option] = true;
      values[option] = arguments[index + 1];
      arguments.erase(arguments.begin() + index, arguments.begin() + index + 2);
      argumentCount -= 2;
      break;
    }
  }
  return 0;
}

// The permission words that the command line needs of `facts`. A permission with argument words
// is needed when one of them is present (an edit that adds, removes, or sets, which does both),
// and when none of the row's argument words is present at all; one without is always needed.
std::vector<std::wstring> PermissionWords(const CommandFacts& facts,
                                          const std::vector<std::wstring>& arguments,
                                          int32_t argumentCount) {
  auto selects = [&](const RequiredPermission& required) {
    for (int32_t index = 2; index < argumentCount; ++index) {
      const std::wstring word = ToLowerWide(arguments[index]);
      for (const wchar_t* selector : required.selectedBy) {
        if (selector != nullptr && word == selector) return true;
      }
    }
    return false;
  };
  const bool anySelected =
      std::any_of(std::begin(facts.permissions), std::end(facts.permissions), selects);
  std::vector<std::wstring> words;
  for (const RequiredPermission& required : facts.permissions) {
    if (required.permission == nullptr) continue;
    if (!anySelected || required.selectedBy[0] == nullptr || selects(required)) {
      words.push_back(required.permission->word);
    }
  }
  return words;
}

// The identifiers of the message against this endpoint.
/// 0, 20 for a mismatch, or the failing step's code.
[[nodiscard]] uint32_t MatchIdentifiers(AuthorizationServices& services,
                                        const IdentityServices& identity,
                                        const SignedAuthMessage& message,
                                        const std::wstring& configPath, bool identityAvailable,
                                        Logger* log) {
  WriteLog(log, L"Get information based on decoded indetifiers");
  for (const auto& [type, values] : message.identifiers) {
    WriteLog(log, L"Identifier type value: " + std::to_wstring(type));
    if (type == kIdentifierHardwareId) {
      WriteLog(log, L"Hardware Id identifier type");
      std::string hardwareId;
      if (const uint32_t code = identity.readHardwareId(configPath, hardwareId, log); code != 0) {
        WriteLog(log, L"Failed to get endpoint information. Error code: " + std::to_wstring(code));
        return code;
      }
      if (values.count(hardwareId) == 0) {
        WriteLog(log, L"Hardware Id not found");
        return kErrorIdentifierNotMatched;
      }
    } else if (type == kIdentifierSha256HardwareId) {
      for (const auto& value : values) {
        WriteLog(log, L"SHA256Hardware id identifiers: " + Utf8ToWide(value));
      }
      WriteLog(log, L"SHA256 Hardware Id identifier type");
      std::string hardwareId;
      const uint32_t code =
          identity.getEndpointInformation(hardwareId, configPath, identityAvailable, log);
      if (code != 0) {
        WriteLog(log, L"Failed to get endpoint information. Error code: " + std::to_wstring(code));
        return code;
      }
      WriteLog(log, L"Compute hash for hardware id");
      std::vector<uint8_t> digest;
      if (const uint32_t hashCode = services.ComputeSha256(digest, hardwareId, log);
          hashCode != 0) {
        WriteLog(log, L"Failed to compute hash. Error code: " + std::to_wstring(hashCode));
        return hashCode;
      }
      if (values.count(ToLowerHex(digest)) == 0) {
        WriteLog(log, L"SHA 256 Hardware Id not found");
        return kErrorIdentifierNotMatched;
      }
    }
  }
  return 0;
}

}  // namespace

bool FindAuthorizedCommands(std::vector<uint32_t>& requiredPermissions,
                            const std::vector<std::wstring>& commandWords, Logger* log) {
  for (const auto& word : commandWords) {
    WriteLog(log, L"Searching for the following command: " + word);
    const auto found = CommandPermissions.find(word);
    if (found == CommandPermissions.end()) {
      WriteLog(log, L"Command is not found in authorized list. Command is not authorized");
      return false;
    }
    WriteLog(log,
             L"Command is found in authorized list. Permission is added for further validations");
    requiredPermissions.push_back(found->second);
  }
  return true;
}

bool IsCommandToBeAuthorized(std::vector<uint32_t>& requiredPermissions,
                             const std::vector<std::wstring>& arguments, int32_t argumentCount,
                             Logger* log) {
  WriteLog(log, L"Begin command search");
  const CommandFacts* facts = FindCommandFacts(arguments[1]);
  if (facts == nullptr || facts->permissions[0].permission == nullptr) return false;
  return FindAuthorizedCommands(requiredPermissions,
                                PermissionWords(*facts, arguments, argumentCount), log);
}

uint32_t ValidateAuthorization(AuthorizationServices& services, const IdentityServices& identity,
                               bool& authorized, bool& authorizationServiceUsed,
                               std::vector<std::wstring>& arguments, int32_t& argumentCount,
                               Logger* log) {
  WriteLog(log, L"Validate authorization");
  authorized = false;
  authorizationServiceUsed = false;

  WriteLog(log, L"See if command must be authorized");
  std::vector<uint32_t> required;
  if (!IsCommandToBeAuthorized(required, arguments, argumentCount, log)) {
    WriteLog(log, L"Command does not need authorization");
    authorized = true;
    return 0;
  }

  WriteLog(log,
           L"Check for authorization service parameters: authToken, certificate and "
           L"executionTime");
  std::wstring values[kOptionCount];
  bool given[kOptionCount] = {};
  if (const uint32_t code = TakeOptions(arguments, argumentCount, values, given, log); code != 0) {
    return code;
  }

  WriteLog(log, L"Check if command has legacy support");
  const bool anyGiven = std::find(std::begin(given), std::end(given), true) != std::end(given);
  if (LegacySupportedCommands.count(ToLowerWide(arguments[1])) != 0 && !anyGiven) {
    WriteLog(log, L"Command has legacy support. Authorization service will not be used");
    authorized = true;
    authorizationServiceUsed = false;
    return 0;
  }

  WriteLog(log, L"Check if authorization parameters are set");
  if (!given[kAuthToken] || !given[kExecutionTime] ||
      given[kCertificate] == given[kCertificatePath]) {
    WriteLog(log, L"One or more of the parameters are not set");
    return kErrorOptionsIncomplete;
  }

  WriteLog(log, L"Read the certificate from the given path if provided");
  const bool fromFile = given[kCertificatePath];
  if (fromFile) {
    if (!services.ReadCertificateFile(values[kCertificatePath], values[kCertificate])) {
      WriteLog(log, L"Cannot read certificate from the given path: " + values[kCertificatePath]);
      return kErrorCertificateFileUnreadable;
    }
    WriteLog(log, L"Finished to read certificate from path");
  }

  WriteLog(log, L"Authorization service will be used");
  authorizationServiceUsed = true;

  auto refused = [&](const wchar_t* message) {
    WriteLog(log, message);
    return 0u;  // a verdict: not authorized
  };

  WriteLog(log, L"Decrypt certificate data");
  std::vector<uint8_t> certificate;
  if (const uint32_t code = services.DecodeBase64(certificate, values[kCertificate], log)) {
    return LogFailure(log, L"Failed to decrypt certificate data. Error code: ", code);
  }

  WriteLog(log, L"Validate certificate operation");
  bool valid = false;
  if (const uint32_t code = services.ValidateCertificate(valid, values[kCertificatePath],
                                                         certificate, fromFile, log)) {
    return LogFailure(log, L"Failed to validate certificate. Error code: ", code);
  }
  if (!valid) return refused(L"Certificate is not valid");

  WriteLog(log, L"Validate certificate information");
  valid = false;
  if (const uint32_t code = services.ValidateCertificateInformation(valid, certificate, log)) {
    return LogFailure(log, L"Failed to validate certificate information. Error code: ", code);
  }
  if (!valid) return refused(L"Certificate information is not valid");

  WriteLog(log, L"Decrypt authToken data");
  std::vector<uint8_t> authTokenBytes;
  if (const uint32_t code = services.DecodeBase64(authTokenBytes, values[kAuthToken], log)) {
    return LogFailure(log, L"Failed to decrypt authToken data. Error code: ", code);
  }

  WriteLog(log, L"Decode signed auth message");
  SignedAuthMessage message;
  if (const uint32_t code = DecodeSignedAuthMessage(message, authTokenBytes, log)) {
    WriteLog(log, L"Failed to decode signed auth message. Error code: " +
                      std::to_wstring(static_cast<int32_t>(code)));
    return code;
  }

  WriteLog(log, L"Verify signature");
  if (!services.VerifySignature(certificate, message.signature, message.messageBytes, log)) {
    return refused(L"Signature is not valid");
  }

  WriteLog(log, L"Check operation permissions");
  for (uint32_t permission : required) {
    if (message.permissions.count(permission) == 0) {
      return refused(L"Not all permissions are valid");
    }
  }

  WriteLog(log, L"Decrypt signed time message data");
  std::vector<uint8_t> timeBytes;
  if (const uint32_t code = services.DecodeBase64(timeBytes, values[kExecutionTime], log)) {
    return LogFailure(log, L"Could not decrypt data. Error code: ", code);
  }

  WriteLog(log, L"Decode signed time");
  SignedTimeMessage signedTime;
  if (const uint32_t code = DecodeSignedTimeMessage(signedTime, timeBytes, log)) {
    return LogFailure(log, L"Could not decode signed time.Error code : ", code);
  }

  WriteLog(log, L"Verify signature for certificate");
  if (!services.VerifySignature(certificate, signedTime.signature, signedTime.messageBytes, log)) {
    return refused(L"Failed to verify signature. Error code: 0");
  }

  WriteLog(log, L"Read nonce from registry");
  // Read, compare and delete are one step for other runs: no two spend the same nonce.
  if (const uint32_t code = services.LockNonce(log)) return code;
  auto unlock = scope_exit([&services] { services.UnlockNonce(); });
  std::vector<uint8_t> nonce;
  if (const uint32_t code = services.ReadNonce(nonce, log)) {
    return LogFailure(log, L"Failed to read nonce value from registtry. Error code: ", code);
  }

  WriteLog(log, L"Validate challenge");
  valid = false;
  if (const uint32_t code =
          services.ValidateChallenge(valid, nonce, signedTime, values[kAuthToken], log)) {
    return LogFailure(log, L"Failed to validate challenge. Error code: ", code);
  }
  if (!valid) return refused(L"Challenge is not valid");

  // From here on the challenge is spent, whatever the remaining checks decide.
  WriteLog(log, L"Delete nonce registry key");
  if (const uint32_t code = services.DeleteNonceKey(log)) {
    return LogFailure(log, L"Failed to delete registry key. Error code: ", code);
  }
  unlock.dismiss();
  services.UnlockNonce();

  WriteLog(log, L"Check auth message time validity");
  if (signedTime.executionTime < message.validFrom || signedTime.executionTime > message.validTo) {
    return refused(L"Validity expired");
  }

  WriteLog(log, L"Get OXAG information");
  std::wstring configPath;
  uint8_t identityAvailable = 0;
  if (const uint32_t code = identity.locateAgentConfigFile(configPath, identityAvailable, log)) {
    return LogFailure(log, L"Failed to get OXAG information. Error code: ", code);
  }

  if (const uint32_t code =
          MatchIdentifiers(services, identity, message, configPath, identityAvailable != 0, log)) {
    return code;
  }

  authorized = true;
  WriteLog(log, L"Finished to validate authorization successfully. Operation is authorized");
  return 0;
}

}  // namespace tarn
