#include <windows.h>

#include "agent/probes.h"
#include "app/log.h"

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
