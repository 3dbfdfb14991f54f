// The agent's two services in the prefix's service control manager, registered as an
// installation registers them, and started and stopped on demand.
//
// Every function returns a Win32 error code (0 = success).
#pragma once

#include <cstdint>
#include <string>

namespace tarn::sim {

struct AgentService {
  const wchar_t* name;
  const wchar_t* displayName;
  const wchar_t* image;  // file name in the agent directory
};

// In the order the tool checks them: integration, then security.
extern const AgentService kAgentServices[2];

// "integration", "security" or a service's own name (any letter case); null if unknown.
const AgentService* FindAgentService(const std::wstring& word);

// The service's image path as a real installation writes it: the quoted image path in the agent
// directory, a blank and an argument.
std::wstring ServiceCommandLine(const AgentService& service);

// Creates both services (demand start) from the images in the agent directory, replacing earlier
// registrations; with `start`, starts them and waits until both run.
[[nodiscard]] uint32_t RegisterAgentServices(bool start);
// Stops and deletes both services and removes their keys; absent services are no error.
[[nodiscard]] uint32_t UnregisterAgentServices();

// Start waits until the service runs; stop until it is stopped and its process has ended.
[[nodiscard]] uint32_t StartAgentService(const AgentService& service);
[[nodiscard]] uint32_t StopAgentService(const AgentService& service);

// The service's current state (SERVICE_RUNNING, ...); ERROR_SERVICE_DOES_NOT_EXIST when it is
// not registered.
[[nodiscard]] uint32_t QueryAgentServiceState(const AgentService& service, uint32_t* state);

}  // namespace tarn::sim
