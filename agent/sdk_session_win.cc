#include <windows.h>

#include "agent/agent_platform.h"
#include "agent/sdk_exchange.h"
#include "agent/sdk_requests.h"
#include "agent/sdk_session.h"
#include "agent/service_probes.h"
#include "base/file_hold.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

ModuleCheck moduleCheck = nullptr;

// Resets the DLL search directory when the library is gone.
struct DllDirectoryReset {
  ~DllDirectoryReset() { SetDllDirectoryW(nullptr); }
};

// Steps from the load to the unload; the caller logs the session's end after everything is
// released. `completed` tells whether the exchange ran to its regular end.
/// The load's or export lookup's last error, 775, or the exchange's result.
[[nodiscard]] uint32_t LoadAndExchange(const std::wstring& libraryPath, FileHold held,
                                       const SdkExchange& exchange, rapidjson::Document& reply,
                                       int32_t& apiError, int64_t& endpointSdkError,
                                       bool& completed, Logger* log) {
  const std::wstring directory = DirectoryOf(libraryPath);
  SetDllDirectoryW(directory.c_str());
  DllDirectoryReset resetDirectory;  // declared before the module: reset after the unload

  WriteLog(log, L"Loading library from: " + libraryPath);
  UniqueHmodule library(LoadLibraryW(libraryPath.c_str()));
  if (!library) {
    WriteLog(log, L"libHandle is null. Loading library with altered search path");
    library.reset(LoadLibraryExW(libraryPath.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!library) {
      const DWORD error = GetLastError();
      WriteLog(log, L"Failed to load library. Error code : " + std::to_wstring(error));
      return error;
    }
  }
  held.reset();

  WriteLog(log, L"Set OXSDK get instance");
  const auto getInstance = reinterpret_cast<SdkGetInstanceFunction>(
      reinterpret_cast<void*>(GetProcAddress(library.get(), "OXSDK_GetInstance")));
  if (getInstance == nullptr) {
    const DWORD error = GetLastError();
    WriteLog(log, L"Failed to set get instance. Error code : " + std::to_wstring(error));
    return error;
  }
  WriteLog(log, L"OXSDK get instance is set");
  WriteLog(log, L"Set OXSDK release intance");
  const auto releaseInstance = reinterpret_cast<SdkReleaseInstanceFunction>(
      reinterpret_cast<void*>(GetProcAddress(library.get(), "OXSDK_ReleaseInstance")));
  if (releaseInstance == nullptr) {
    const DWORD error = GetLastError();
    WriteLog(log, L"Failed to set release instance. Error code : " + std::to_wstring(error));
    return error;
  }

  WriteLog(log, L"Get OXSDK instance");
  SdkInstance* instance = nullptr;
  apiError = getInstance(&instance, 0);
  if (apiError != 0 || instance == nullptr) {
    WriteLog(log, L"Failed to get OXSDK instance. Error code : " + std::to_wstring(apiError));
    return kErrorSdkInstance;
  }
  WriteLog(log, L"Instance retrieved successfully");
  auto release = scope_exit([&] { releaseInstance(instance); });  // before the unload
  return RunSdkExchange(*instance, exchange, reply, apiError, endpointSdkError, completed, log);
}

}  // namespace

void UseModuleCheck(ModuleCheck check) { moduleCheck = check; }

uint32_t ExecuteSdkMethod(rapidjson::Document& reply, int32_t& apiError, int64_t& endpointSdkError,
                          const std::wstring& methodKey, const std::wstring& explicitRequest,
                          const std::wstring& commandName, Logger* log) {
  WriteLog(log, L"Executing OXSDK method: " + methodKey);
  WriteLog(log, L"Retrieving TARN Service image path");
  std::wstring imagePath;
  if (const uint32_t status = GetServiceImagePath(kSecurityServiceKey, imagePath, log);
      status != 0) {
    WriteLog(log, L"Failed to retrieve TARN service image path. Error code : " +
                      std::to_wstring(status));
    return status;
  }
  WriteLog(log, L"TARN Service image path retrieved sucessfully");
  const std::wstring libraryPath = DirectoryOf(imagePath) + L"\\oxsdk.dll";

  WriteLog(log, L"Validate " + libraryPath + L" binary");
  // Held from before the check until it is loaded, so that the file loaded is the file checked.
  FileHold held;
  bool isValid = false;
  uint32_t status = HoldFileAgainstChanges(libraryPath, held);
  // Without a check nothing is proven: the library counts as not valid.
  if (status == 0 && moduleCheck != nullptr) status = moduleCheck(isValid, libraryPath, log);
  if (status != 0) {
    WriteLog(log, L"Failed to validate binary. Error code : " + std::to_wstring(status));
    return status;
  }
  if (!isValid) {
    WriteLog(log, L"Binary is not valid");
    return kErrorNotValidlySigned;
  }
  WriteLog(log, L"Binary is valid");

  const SdkExchange exchange{methodKey, explicitRequest, commandName, CreateGuidText};
  bool completed = false;
  const uint32_t result = LoadAndExchange(libraryPath, std::move(held), exchange, reply, apiError,
                                          endpointSdkError, completed, log);
  if (completed) WriteLog(log, L"Finished executing OXSDK method");
  return result;
}

uint32_t RunSdkMethod(rapidjson::Document& reply, const std::wstring& methodKey,
                      const std::wstring& explicitRequest, const std::wstring& commandName,
                      Logger* log) {
  WriteLog(log, L"Executing OXSDK Wrapper method: " + methodKey);
  int32_t apiError = 0;
  int64_t endpointSdkError = 0;
  const uint32_t result = ExecuteSdkMethod(reply, apiError, endpointSdkError, methodKey,
                                           explicitRequest, commandName, log);
  WriteLog(log, L"Return error: " + std::to_wstring(result));
  if (endpointSdkError != 0) {
    WriteLog(log, L"Endpoint SDK failed with error code: " + std::to_wstring(endpointSdkError));
    return static_cast<uint32_t>(endpointSdkError);
  }
  if (apiError != 0) {
    WriteLog(log, L"API failed with error code: " + std::to_wstring(apiError));
    return static_cast<uint32_t>(apiError);
  }
  WriteLog(log, L"OXSDK Method returned with error code: " + std::to_wstring(result));
  return result;
}

}  // namespace tarn
