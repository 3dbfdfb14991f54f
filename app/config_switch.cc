#include "app/config_switch.h"

#include <filesystem>
#include <fstream>

#include "base/log.h"

namespace tarn {

bool IsLoggingSwitchLine(std::wstring_view line) {
  const size_t eq = line.find(L'=');
  if (eq == 0 || eq == std::wstring_view::npos) return false;
  return line.substr(0, eq) == L"Logging" && line.substr(eq + 1) == L"true";
}

void SwitchLogging(const std::wstring& configPath, const std::wstring& programDirectory,
                   Logger*& logHandle) {
  std::wifstream file{std::filesystem::path(configPath)};
  std::wstring line;
  while (std::getline(file, line)) {
    if (IsLoggingSwitchLine(line) && logHandle == nullptr) {
      logHandle = CreateLogger(programDirectory);
    }
  }
}

}  // namespace tarn
