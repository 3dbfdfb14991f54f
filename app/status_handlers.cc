#include "app/status_handlers.h"

#include "base/log.h"
#include "base/process_state.h"
#include "base/text.h"
#include "ops/update_health.h"

namespace tarn {

uint32_t AnswerUpdateStatus(std::string& answer, Logger* log) {
  return GetUpdateStatus(WideToUtf8(ArgumentList[2]), answer, log);
}

uint32_t AnswerUpToDate(std::string& answer, Logger* log) {
  uint32_t upToDate = 0;
  if (const uint32_t code = IsUpToDate(upToDate, log); code != 0) return code;
  WriteLog(log, L"Is TARN up to date value: " + std::to_wstring(upToDate));
  answer = std::to_string(upToDate);
  return 0;
}

}  // namespace tarn
