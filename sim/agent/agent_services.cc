#include "sim/agent/agent_services.h"

#include "base/text.h"
#include "base/win_handles.h"
#include "sim/agent/agent_layout.h"

namespace tarn::sim {

const AgentService kAgentServices[2] = {
    {kIntegrationServiceName, L"TARN Integration Service", kIntegrationServiceImage},
    {kSecurityServiceName, L"TARN Security Service", kSecurityServiceImage},
};

namespace {

// A service that has not reached the wanted state by then is reported as a time-out.
constexpr DWORD kStateWaitMs = 30000;
constexpr DWORD kPollMs = 50;

uint32_t OpenManager(DWORD access, UniqueScHandle* manager) {
  manager->reset(OpenSCManagerW(nullptr, nullptr, access));
  return manager->valid() ? 0 : GetLastError();
}

uint32_t QueryStatus(SC_HANDLE service, SERVICE_STATUS_PROCESS* status) {
  DWORD needed = 0;
  return QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(status),
                              sizeof *status, &needed)
             ? 0
             : GetLastError();
}

uint32_t WaitForState(SC_HANDLE service, DWORD wanted) {
  SERVICE_STATUS_PROCESS status{};
  for (DWORD waited = 0;; waited += kPollMs) {
    if (uint32_t code = QueryStatus(service, &status)) return code;
    if (status.dwCurrentState == wanted) return 0;
    // A service that stopped on its own while starting will not run.
    if (wanted == SERVICE_RUNNING && status.dwCurrentState == SERVICE_STOPPED) {
      return status.dwWin32ExitCode ? status.dwWin32ExitCode : ERROR_SERVICE_NOT_ACTIVE;
    }
    if (waited >= kStateWaitMs) return ERROR_SERVICE_REQUEST_TIMEOUT;
    Sleep(kPollMs);
  }
}

uint32_t Stop(SC_HANDLE service) {
  SERVICE_STATUS_PROCESS status{};
  if (uint32_t code = QueryStatus(service, &status)) return code;
  if (status.dwCurrentState == SERVICE_STOPPED) return 0;
  // The process outlives its last status report for a moment; wait for it so that its image
  // file can be replaced or deleted afterwards.
  UniqueKernelHandle process(OpenProcess(SYNCHRONIZE, FALSE, status.dwProcessId));
  SERVICE_STATUS ignored{};
  if (status.dwCurrentState != SERVICE_STOP_PENDING &&
      !ControlService(service, SERVICE_CONTROL_STOP, &ignored) &&
      GetLastError() != ERROR_SERVICE_NOT_ACTIVE) {
    return GetLastError();
  }
  if (uint32_t code = WaitForState(service, SERVICE_STOPPED)) return code;
  if (process && WaitForSingleObject(process.get(), kStateWaitMs) != WAIT_OBJECT_0) {
    return ERROR_SERVICE_REQUEST_TIMEOUT;
  }
  return 0;
}

uint32_t StopAndDelete(SC_HANDLE manager, const AgentService& service) {
  UniqueScHandle handle(
      OpenServiceW(manager, service.name, SERVICE_QUERY_STATUS | SERVICE_STOP | DELETE));
  if (!handle) {
    return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? 0 : GetLastError();
  }
  if (uint32_t code = Stop(handle.get())) return code;
  if (!DeleteService(handle.get()) && GetLastError() != ERROR_SERVICE_MARKED_FOR_DELETE) {
    return GetLastError();
  }
  return 0;
}

// A key left behind (restored by hand, or written by another tool) would outlive the service.
uint32_t DeleteServiceKey(const AgentService& service) {
  const std::wstring key = std::wstring(kServicesKey) + L"\\" + service.name;
  const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, key.c_str());
  return status == ERROR_FILE_NOT_FOUND ? 0 : static_cast<uint32_t>(status);
}

uint32_t Start(SC_HANDLE manager, const AgentService& service) {
  UniqueScHandle handle(OpenServiceW(manager, service.name, SERVICE_START | SERVICE_QUERY_STATUS));
  if (!handle) return GetLastError();
  if (!StartServiceW(handle.get(), 0, nullptr) && GetLastError() != ERROR_SERVICE_ALREADY_RUNNING) {
    return GetLastError();
  }
  return WaitForState(handle.get(), SERVICE_RUNNING);
}

}  // namespace

const AgentService* FindAgentService(const std::wstring& word) {
  if (EqualsIgnoreCase(word, L"integration")) return &kAgentServices[0];
  if (EqualsIgnoreCase(word, L"security")) return &kAgentServices[1];
  for (const auto& service : kAgentServices) {
    if (EqualsIgnoreCase(word, service.name)) return &service;
  }
  return nullptr;
}

std::wstring ServiceCommandLine(const AgentService& service) {
  return L"\"" + (AgentDirectory() / service.image).wstring() + L"\" " + kServiceArgument;
}

uint32_t RegisterAgentServices(bool start) {
  if (uint32_t code = UnregisterAgentServices()) return code;
  UniqueScHandle manager;
  if (uint32_t code = OpenManager(SC_MANAGER_CREATE_SERVICE | SC_MANAGER_CONNECT, &manager)) {
    return code;
  }
  for (const auto& service : kAgentServices) {
    const std::wstring commandLine = ServiceCommandLine(service);
    UniqueScHandle created(
        CreateServiceW(manager.get(), service.name, service.displayName, SERVICE_ALL_ACCESS,
                       SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                       commandLine.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr));
    if (!created) return GetLastError();
  }
  if (!start) return 0;
  for (const auto& service : kAgentServices) {
    if (uint32_t code = Start(manager.get(), service)) return code;
  }
  return 0;
}

uint32_t UnregisterAgentServices() {
  UniqueScHandle manager;
  if (uint32_t code = OpenManager(SC_MANAGER_CONNECT, &manager)) return code;
  // Security first, as an uninstaller takes the protecting service down before its helpers.
  for (int i = 1; i >= 0; --i) {
    if (uint32_t code = StopAndDelete(manager.get(), kAgentServices[i])) return code;
    if (uint32_t code = DeleteServiceKey(kAgentServices[i])) return code;
  }
  return 0;
}

uint32_t StartAgentService(const AgentService& service) {
  UniqueScHandle manager;
  if (uint32_t code = OpenManager(SC_MANAGER_CONNECT, &manager)) return code;
  return Start(manager.get(), service);
}

uint32_t StopAgentService(const AgentService& service) {
  UniqueScHandle manager;
  if (uint32_t code = OpenManager(SC_MANAGER_CONNECT, &manager)) return code;
  UniqueScHandle handle(
      OpenServiceW(manager.get(), service.name, SERVICE_STOP | SERVICE_QUERY_STATUS));
  if (!handle) return GetLastError();
  return Stop(handle.get());
}

uint32_t QueryAgentServiceState(const AgentService& service, uint32_t* state) {
  UniqueScHandle manager;
  if (uint32_t code = OpenManager(SC_MANAGER_CONNECT, &manager)) return code;
  UniqueScHandle handle(OpenServiceW(manager.get(), service.name, SERVICE_QUERY_STATUS));
  if (!handle) return GetLastError();
  SERVICE_STATUS_PROCESS status{};
  if (uint32_t code = QueryStatus(handle.get(), &status)) return code;
  *state = status.dwCurrentState;
  return 0;
}

}  // namespace tarn::sim
