#include "app/command_runner.h"

#include "app/output.h"
#include "base/log.h"
#include "base/process_state.h"
#include "base/result_codes.h"

namespace tarn {

bool ArgumentsFit(const CommandFacts& facts) {
  bool fits = true;
  switch (facts.argumentRule) {
    case ArgumentRule::kExactly:
      fits = ArgumentCount == facts.argumentCount;
      break;
    case ArgumentRule::kAtLeast:
      fits = ArgumentCount >= facts.argumentCount;
      break;
    case ArgumentRule::kAny:
    case ArgumentRule::kHandlerParses:
      break;
  }
  if (!fits) WriteLog(LogHandle, facts.badArguments);
  return fits;
}

uint32_t RunCommonPattern(const CommandFacts& facts, AnswerOperation operation) {
  for (const wchar_t* line : facts.start) {
    if (line != nullptr) WriteLog(LogHandle, line);
  }
  if (!ArgumentsFit(facts)) {
    ResultCode = kErrorBadArguments;
  } else {
    ResultCode = operation(ResultText, LogHandle);
    if (ResultCode != 0 && !facts.printsAlways) return ResultCode;
    if (facts.finish != nullptr) {
      WriteLog(LogHandle, facts.finishWithCode ? facts.finish + std::to_wstring(ResultCode)
                                               : std::wstring(facts.finish));
    }
  }
  if (ResultCode == 0 || facts.printsAlways) WriteResultText();
  return ResultCode;
}

}  // namespace tarn
