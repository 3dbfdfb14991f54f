#include "app/challenge_handler.h"

#include "auth/challenge.h"
#include "base/process_state.h"

namespace tarn {

uint32_t AnswerChallenge(std::string& answer, Logger* log) {
  return GetChallenge(answer, ArgumentList[2], log);
}

}  // namespace tarn
