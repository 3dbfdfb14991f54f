#include "app/competitor_handlers.h"

#include "agent/agent_platform.h"
#include "base/log.h"
#include "base/process_state.h"
#include "base/text.h"
#include "ops/competitors.h"

namespace tarn {

// The command word is handed on as given: the session chooses its waits by it.

uint32_t AnswerCompetitorsAssessment(std::string& answer, Logger* log) {
  std::vector<CompetitorEntry> competitors;
  const uint32_t code =
      StartCompetitorsAssessment(competitors, ArgumentList[1], SystemAgentPlatform(), log);
  if (code == 0) answer = FormatCompetitors(competitors);
  return code;
}

uint32_t AnswerRemoveCompetitors(std::string& answer, Logger* log) {
  const std::vector<std::wstring> ids(ArgumentList.begin() + 2,
                                      ArgumentList.begin() + ArgumentCount);
  std::vector<RemovalEntry> removals;
  const uint32_t code =
      StartCompetitorsRemoval(removals, ids, ArgumentList[1], SystemAgentPlatform(), log);
  if (code == 0) answer = FormatRemovals(removals);
  return code;
}

uint32_t AnswerRemoveAllCompetitors(std::string& answer, Logger* log) {
  std::vector<CompetitorEntry> competitors;
  if (const uint32_t code =
          StartCompetitorsAssessment(competitors, ArgumentList[1], SystemAgentPlatform(), log);
      code != 0) {
    return LogFailure(log, L"Fail TARN competitors assessment with error code = ", code);
  }
  // Every product found, also those the agent said it cannot remove: the agent decides.
  std::vector<std::wstring> ids;
  for (const CompetitorEntry& entry : competitors) ids.push_back(Utf8ToWide(entry.id));
  std::vector<RemovalEntry> removals;
  const uint32_t code =
      StartCompetitorsRemoval(removals, ids, ArgumentList[1], SystemAgentPlatform(), log);
  if (code == 0) answer = FormatRemovals(removals);
  return code;
}

}  // namespace tarn
