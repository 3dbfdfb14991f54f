#include "app/system_handlers.h"

#include "agent/file_probes.h"
#include "agent/system_probes.h"
#include "base/log.h"
#include "base/process_state.h"

namespace tarn {

uint32_t AnswerIs64BitOs(std::string& answer, Logger* log) {
  // The tool is built for x86-64 only, so the system it runs on is 64-bit.
  const int is64Bit = 1;
  WriteLog(log, L"OS 64 bit value: " + std::to_wstring(is64Bit));
  answer = std::to_string(is64Bit);
  WriteLog(log, L"Returned value of 64 bit is: " + std::to_wstring(is64Bit));
  return 0;
}

uint32_t AnswerLegacyWindows(std::string& answer, Logger* log) {
  const uint32_t legacy = IsLegacyWindows(log);
  answer = std::to_string(legacy);
  WriteLog(log, L"Returned value of legacy: " + std::to_wstring(legacy));
  return 0;
}

uint32_t AnswerRebootRequired(std::string& answer, Logger* log) {
  uint32_t required = 0;
  const uint32_t code = IsRebootRequired(required, log);
  answer = std::to_string(required);
  return code;
}

uint32_t AnswerToolVersion(std::string& answer, Logger* log) {
  return GetFileVersionString(ArgumentList[0], answer, log);
}

}  // namespace tarn
