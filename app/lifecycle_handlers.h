// The agent's life cycle: uninstall, detect, and the two install commands. Each prints its answer
// on every path.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// Handlers of their own: the start line depends on the arguments.
/// The route's code; 160 for bad arguments (unlogged and unprinted when authorized through the
/// service).
[[nodiscard]] uint32_t HandleUninstall();
/// Detect's code; 160 for bad arguments.
[[nodiscard]] uint32_t HandleDetect();

// The install commands' operations under the common pattern: the answer is preset to "0|||",
// then the argument checks, the XML edits and the installation.
/// The first failing check's or step's code, else the installer's exit code.
[[nodiscard]] uint32_t AnswerRunSetupDownloader(std::string& answer, Logger* log);
[[nodiscard]] uint32_t AnswerRunInstaller(std::string& answer, Logger* log);

}  // namespace tarn
