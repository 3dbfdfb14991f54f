#include "ops/lifecycle_system.h"

#include "agent/service_probes.h"
#include "base/log.h"
#include "base/result_codes.h"

namespace tarn {

std::string LifecycleAnswer(uint32_t code, const std::string& endpoint) {
  return std::to_string(code) + "|||" + endpoint;
}

uint32_t GatherEndpointFields(const LifecycleSystem& system, const std::wstring& configPath,
                              bool askAgent, EndpointFields& fields, Logger* log) {
  return system.getEndpointInformation(&fields.hardwareId, &fields.groupId, &fields.companyId,
                                       configPath, askAgent, log);
}

uint32_t LookUpAgentImagePath(const LifecycleSystem& system, std::wstring& imagePath, Logger* log) {
  const uint32_t code = system.getServiceImagePath(kSecurityServiceKey, imagePath, log);
  if (code != 0) {
    WriteLog(log, code == kErrorFileNotFound ? L"File not found. TARN is not present"
                                             : L"Failed to retrieve TARN Service Image Path");
  }
  return code;
}

}  // namespace tarn
