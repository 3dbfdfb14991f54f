#include "app/command_table.h"

#include "app/challenge_handler.h"
#include "app/competitor_handlers.h"
#include "app/scan_handlers.h"
#include "app/status_handlers.h"
#include "app/system_handlers.h"
#include "ops/last_system_scan.h"
#include "ops/product_status.h"
#include "ops/update_health.h"

namespace tarn {
namespace {

const CommandBinding kBindings[] = {
    {Command::kCheckIfRebootRequired, AnswerRebootRequired},
    {Command::kCheckIfLegacyVersion, AnswerLegacyWindows},
    {Command::kCheckIs64BitOs, AnswerIs64BitOs},
    {Command::kCheckForUpdateErrors, GetUpdateErrors},
    {Command::kGetUpdateStatus, AnswerUpdateStatus},
    {Command::kHasCriticalIssues, GetCriticalIssues},
    {Command::kIsUpToDate, AnswerUpToDate},
    {Command::kGetUpdateLocations, GetUpdateLocations},
    {Command::kStartUpdate, nullptr, HandleStartUpdate},
    {Command::kGetProductVersion, GetProductVersion},
    {Command::kGetLastUpdate, GetLastUpdateTime},
    {Command::kGetFeatureStatus, GetFeatureStatus},
    {Command::kGetLastSystemScan, GetLastSystemScan},
    {Command::kStartFullScan, nullptr, HandleStartFullScan},
    {Command::kStartQuickScan, nullptr, HandleStartQuickScan},
    {Command::kGetVersion, AnswerToolVersion},
    {Command::kCompetitorsAssessment, AnswerCompetitorsAssessment},
    {Command::kRemoveCompetitors, AnswerRemoveCompetitors},
    {Command::kRemoveAllCompetitors, AnswerRemoveAllCompetitors},
    {Command::kGetChallenge, AnswerChallenge},
};

std::unordered_map<std::wstring, const CommandBinding*> BuildCommandTable() {
  std::unordered_map<std::wstring, const CommandBinding*> table;
  for (const CommandBinding& binding : kBindings) {
    table.emplace(FactsOf(binding.command).word, &binding);
  }
  return table;
}

}  // namespace

const std::unordered_map<std::wstring, const CommandBinding*> CommandTable = BuildCommandTable();

uint32_t RunCommand(const CommandBinding& binding) {
  if (binding.handler != nullptr) return binding.handler();
  return RunCommonPattern(FactsOf(binding.command), binding.operation);
}

}  // namespace tarn
