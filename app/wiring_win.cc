#include "agent/endpoint_identity.h"
#include "agent/sdk_session.h"
#include "agent/service_probes.h"
#include "app/wiring.h"
#include "auth/module_signature.h"

namespace tarn {
namespace {

/// ValidateModuleSignature's code for the maker's signer.
[[nodiscard]] uint32_t CheckMakerModule(bool& isValid, const std::wstring& path, Logger* log) {
  return ValidateModuleSignature(isValid, path, kMakerSigner, log);
}

}  // namespace

void WireModuleCheck() { UseModuleCheck(CheckMakerModule); }

IdentityServices EndpointIdentityServices() {
  IdentityServices identity;
  identity.locateAgentConfigFile = LocateAgentConfigFile;
  identity.readHardwareId = [](const std::wstring& configPath, std::string& hardwareId,
                               Logger* log) {
    return ReadAgentConfigFile(configPath, &hardwareId, nullptr, nullptr, log);
  };
  identity.getEndpointInformation = [](std::string& hardwareId, const std::wstring& configPath,
                                       bool askAgent, Logger* log) {
    std::string groupId, companyId;
    return GetEndpointInformation(&hardwareId, &groupId, &companyId, configPath, askAgent, log);
  };
  return identity;
}

}  // namespace tarn
