// Competitor assessment and removal: the agent looks for other security products and removes
// those asked for, reporting each outcome later as a product event of the request's run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "agent/agent_platform.h"
#include "agent/event_payloads.h"

namespace tarn {

class Logger;

// Both hand `commandName` to the session, which chooses the reply and product waits by it. A
// failure the agent or the library reports releases the event thread within 20 s.
/// 0 with the products of this run's event in the list (none when no event was taken); 3 for a
/// malformed event, 8 when memory ran out, the session's code, or the code the agent or the
/// library reported, each with the list untouched.
[[nodiscard]] uint32_t StartCompetitorsAssessment(std::vector<CompetitorEntry>& competitors,
                                                  const std::wstring& commandName,
                                                  const AgentPlatform& platform, Logger* log);
[[nodiscard]] uint32_t StartCompetitorsRemoval(std::vector<RemovalEntry>& removals,
                                               const std::vector<std::wstring>& ids,
                                               const std::wstring& commandName,
                                               const AgentPlatform& platform, Logger* log);

// The requests, byte for byte. The identifiers are inserted as given, without escaping.
std::wstring AssessmentRequest(const RunContext& context);
std::wstring RemovalRequest(const std::vector<std::wstring>& ids, const RunContext& context);

// The answers: entries joined by "||", each "id=...|productName=...|removalSupported=1|0" or
// "id=...|productName=...|status=...".
std::string FormatCompetitors(const std::vector<CompetitorEntry>& competitors);
std::string FormatRemovals(const std::vector<RemovalEntry>& removals);

}  // namespace tarn
