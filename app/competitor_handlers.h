// The answers of the competitor commands, run by the common pattern. The authorization gate has
// already required permission 19 (assessment) or 20 (both removals).
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

/// The assessment's code; on success the products found, "||"-joined.
[[nodiscard]] uint32_t AnswerCompetitorsAssessment(std::string& answer, Logger* log);
/// The removal's code for the identifiers given as arguments; on success each one's status.
[[nodiscard]] uint32_t AnswerRemoveCompetitors(std::string& answer, Logger* log);
/// The assessment's code when it failed, else the removal's of every product it found.
[[nodiscard]] uint32_t AnswerRemoveAllCompetitors(std::string& answer, Logger* log);

}  // namespace tarn
