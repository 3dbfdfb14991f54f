// The answers of the commands that change the agent's features and fetch installation links.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

/// 5 unless both authorization flags are set; otherwise EditFeatures's code. No answer text.
[[nodiscard]] uint32_t AnswerEditFeatures(std::string& answer, Logger* log);
/// 160 for bad options; otherwise GetInstallationLinks's code, the links on success.
[[nodiscard]] uint32_t AnswerInstallationLinks(std::string& answer, Logger* log);

}  // namespace tarn
