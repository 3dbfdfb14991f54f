#include "ops/lifecycle_system.h"

namespace tarn {

std::string LifecycleAnswer(uint32_t code, const std::string& endpoint) {
  return std::to_string(code) + "|||" + endpoint;
}

uint32_t GatherEndpointFields(const LifecycleSystem& system, const std::wstring& configPath,
                              bool askAgent, EndpointFields& fields, Logger* log) {
  return system.getEndpointInformation(&fields.hardwareId, &fields.groupId, &fields.companyId,
                                       configPath, askAgent, log);
}

}  // namespace tarn
