// Where the agent lives and whether its services run.
#include <windows.h>

#include <memory>
#include <new>

#include "agent/service_probes.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

constexpr const wchar_t* kAgentServices[] = {L"OXIntegrationService", L"OXSecurityService"};
constexpr int kServiceChecks = 5;
constexpr DWORD kServiceCheckPauseMs = 5000;

}  // namespace

uint32_t GetServiceImagePath(const std::wstring& keyPath, std::wstring& imagePath, Logger* log) {
  WriteLog(log, L"Open registry key");
  UniqueHkey key;
  LONG status = RegOpenKeyW(HKEY_LOCAL_MACHINE, keyPath.c_str(), key.put());
  if (status != 0) {
    WriteLog(log, L"Failed to open registry key for " + keyPath + L" with error " +
                      std::to_wstring(status));
    return status;
  }
  WriteLog(log, L"Registry key opened successfully");
  WriteLog(log, L"Open key value");
  DWORD size = 0;
  status = RegQueryValueExW(key.get(), L"ImagePath", nullptr, nullptr, nullptr, &size);
  if (status != 0) {
    WriteLog(log, L"Failed to retrieve key value with error " + std::to_wstring(status));
    return status;
  }
  WriteLog(log, L"Retrieved value of registry key successfully");
  WriteLog(log, L"Create image path");
  // One more character than the value holds, so that an unterminated value still ends.
  const size_t chars = size / sizeof(wchar_t) + 1;
  std::unique_ptr<wchar_t[]> buffer(new (std::nothrow) wchar_t[chars]());
  if (!buffer) {
    WriteLog(log, L"Not enough memory to create image path. Error: " +
                      std::to_wstring(kErrorNotEnoughMemory));
    return kErrorNotEnoughMemory;
  }
  WriteLog(log, L"Image path created successfully");
  WriteLog(log, L"Open key value");
  DWORD bytes = static_cast<DWORD>((chars - 1) * sizeof(wchar_t));
  status = RegQueryValueExW(key.get(), L"ImagePath", nullptr, nullptr,
                            reinterpret_cast<BYTE*>(buffer.get()), &bytes);
  key.reset();
  if (status != 0) {
    WriteLog(log, L"Failed to retrieve key value with error " + std::to_wstring(status));
    return status;
  }
  WriteLog(log, L"Retrieved value of registry key successfully");
  std::wstring path(buffer.get());
  for (size_t quote = path.find(L'"'); quote != std::wstring::npos; quote = path.find(L'"')) {
    path.erase(quote, 1);
  }
  imagePath = path;
  WriteLog(log, L"Finished retrieving TARN Service image path successfully");
  return 0;
}

bool AreAgentServicesRunning(Logger* log) {
  WriteLog(log, L"Check for OXIntegrationService and OXSecurityService services");
  WriteLog(log, L"Open SCManager");
  UniqueScHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE));
  if (!manager) {
    WriteLog(log, L"Cannot open SCManager");
    return false;
  }
  WriteLog(log, L"Checking for services");
  bool running = true;
  for (const wchar_t* name : kAgentServices) {
    WriteLog(log, std::wstring(L"Checking for ") + name);
    WriteLog(log, L"Open service");
    UniqueScHandle service(OpenServiceW(manager.get(), name, SERVICE_QUERY_STATUS));
    if (!service) {
      WriteLog(log, L"Service is not found");
      running = false;
      break;
    }
    WriteLog(log, L"Check if service is running");
    SERVICE_STATUS_PROCESS status{};
    DWORD needed = 0;
    const BOOL queried =
        QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO,
                             reinterpret_cast<BYTE*>(&status), sizeof status, &needed);
    service.reset();
    if (!queried) {
      WriteLog(log, L"Cannot query service status");
      running = false;
      break;
    }
    if (status.dwCurrentState != SERVICE_RUNNING) {
      WriteLog(log, L"Service is not running");
      running = false;
      break;
    }
  }
  manager.reset();
  WriteLog(log, L"Returning the status of the services: " + std::to_wstring(running ? 1 : 0));
  return running;
}

bool WaitForAgentServices(Logger* log) {
  WriteLog(log, L"Searching for running services");
  for (int attempt = 0; attempt < kServiceChecks; ++attempt) {
    if (AreAgentServicesRunning(log)) {
      WriteLog(log, L"Services are running");
      return true;
    }
    if (attempt + 1 < kServiceChecks) {
      WriteLog(log, L"Services are not running. Waiting 5 seconds");
      Sleep(kServiceCheckPauseMs);
    }
  }
  WriteLog(log, L"Finished checking for running services");
  return false;
}

uint32_t LocateAgentConfigFile(std::wstring& path, uint8_t& servicesRunning, Logger* log) {
  std::wstring imagePath;
  const uint32_t status = GetServiceImagePath(kSecurityServiceKey, imagePath, log);
  if (status == kErrorFileNotFound) return 0;  // the agent is not registered
  if (status != 0) return status;

  const std::wstring directory = DirectoryOf(imagePath);
  path = directory + L"\\oxagng\\oxagng.jso";
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    // The legacy layout is named but deliberately not probed.
    path = directory + L"\\oxag\\oxag.jso";
    return kErrorFileNotFound;
  }
  for (int check = 0; check < kServiceChecks; ++check) {
    if (AreAgentServicesRunning(log)) {
      servicesRunning = 1;
      break;
    }
    if (check + 1 < kServiceChecks) Sleep(kServiceCheckPauseMs);
  }
  return 0;
}

}  // namespace tarn
