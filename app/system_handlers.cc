// Handlers that answer from the operating system and the tool itself.
#include "agent/probes.h"
#include "app/handlers.h"
#include "app/log.h"
#include "app/output.h"
#include "app/process_state.h"
#include "base/result_codes.h"

namespace tarn {

uint32_t HandleCheckIs64BitOs() {
  WriteLog(LogHandle, L"Check if OS is 64 bit");
  // The tool is built for x86-64 only, so the system it runs on is 64-bit.
  const int is64Bit = 1;
  WriteLog(LogHandle, L"OS 64 bit value: " + std::to_wstring(is64Bit));
  ResultText = std::to_string(is64Bit);
  WriteLog(LogHandle, L"Returned value of 64 bit is: " + std::to_wstring(is64Bit));
  ResultCode = 0;
  WriteResultText();
  return ResultCode;
}

uint32_t HandleCheckIfLegacyVersion() {
  WriteLog(LogHandle, L"Check if is legacy version");
  const uint32_t legacy = IsLegacyWindows(LogHandle);
  ResultCode = 0;
  ResultText = std::to_string(legacy);
  WriteLog(LogHandle, L"Returned value of legacy: " + std::to_wstring(legacy));
  WriteResultText();
  return ResultCode;
}

uint32_t HandleGetVersion() {
  WriteLog(LogHandle, L"Get RMM tool version");
  if (ArgumentCount != 2) {
    WriteLog(LogHandle, L"Bad arguments.");
    return kErrorBadArguments;
  }
  ResultCode = GetFileVersionString(ArgumentList[0], ResultText, LogHandle);
  if (ResultCode != 0) return ResultCode;
  WriteLog(LogHandle,
           L"Finished retrieving RMM Tool version with error code: " + std::to_wstring(ResultCode));
  WriteResultText();
  return ResultCode;
}

}  // namespace tarn
