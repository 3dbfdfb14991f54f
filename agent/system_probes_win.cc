#include <windows.h>

#include "agent/sdk_session.h"
#include "agent/system_probes.h"
#include "base/json.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/win_handles.h"

namespace tarn {

uint32_t IsLegacyWindows(Logger* log) {
  WriteLog(log, L"Return if Windows is 7 or greater");
  OSVERSIONINFOEXW version{};
  version.dwOSVersionInfoSize = sizeof version;
  version.dwMajorVersion = 6;
  version.dwMinorVersion = 1;
  version.wServicePackMajor = 0;
  DWORDLONG condition = 0;
  condition = VerSetConditionMask(condition, VER_MAJORVERSION, VER_GREATER_EQUAL);
  condition = VerSetConditionMask(condition, VER_MINORVERSION, VER_GREATER_EQUAL);
  condition = VerSetConditionMask(condition, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
  const BOOL atLeastWindows7 = VerifyVersionInfoW(
      &version, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR, condition);
  return atLeastWindows7 ? 0 : 1;
}

}  // namespace tarn

namespace tarn {
namespace {

constexpr const wchar_t* kRebootMarkerKey = L"SOFTWARE\\Endpoint Security.removed";

bool RebootMarkerPresent(REGSAM view) {
  UniqueHkey key;
  return RegOpenKeyExW(HKEY_LOCAL_MACHINE, kRebootMarkerKey, 0, KEY_ALL_ACCESS | view, key.put()) ==
         0;
}

}  // namespace

uint32_t IsRebootRequired(uint32_t& required, Logger* log) {
  WriteLog(log, L"Check if process is 32 or 64 bit");
  BOOL wow64 = FALSE;
  const BOOL asked = IsWow64Process(GetCurrentProcess(), &wow64);
  required = 0;
  // The 64-bit view is tried whenever the question could be asked, whatever the answer.
  if (asked) {
    WriteLog(log, L"Process is 64 bit. Open \"SOFTWARE\\Endpoint Security.removed\" registry key");
    if (RebootMarkerPresent(KEY_WOW64_64KEY)) {
      WriteLog(log, L"Key registry was found. Reboot is required");
      required = 1;
      return 0;
    }
  }
  WriteLog(log, L"Process is 32 bit. Open \"SOFTWARE\\Endpoint Security.removed\" registry key");
  if (RebootMarkerPresent(KEY_WOW64_32KEY)) {
    WriteLog(log, L"Key registry was found. Reboot is required");
    required = 1;
    return 0;
  }

  WriteLog(log, L"Get product status using OXSDK wrapper method");
  rapidjson::Document status;
  const uint32_t result = RunSdkMethod(status, L"Product.GetStatus", L"", L"", log);
  if (result == kErrorFileNotFound || result == kErrorModNotFound) {
    WriteLog(log, L"Product is not present");
    return 0;
  }
  if (result != 0) {
    WriteLog(log, L"Failed to get product status");
    return result;
  }
  const rapidjson::Value* pending = Member(status, "PendingRestart");
  if (pending == nullptr || !pending->IsBool()) {
    WriteLog(log, L"Invalid data returned from \"Get product method\"");
    return kErrorInvalidData;
  }
  required = pending->GetBool() ? 1 : 0;
  WriteLog(log, L"Value for reboot required is: " + std::to_wstring(required));
  return 0;
}

}  // namespace tarn
