// Installer.exe and setupdownloader.exe: stand-ins for the agent's installer and setup
// downloader. Each records its command line and working folder beside itself, optionally changes
// the machine the way an installation or removal does, and exits with a chosen code.
//
// Beside the program (names by role, whatever the program file is called):
//   Installer.sim.txt / setupdownloader.sim.txt     what to do, "key=value" lines:
//     exit-code=N           the exit code (default 0); a negative N exits with its unsigned form
//     wait-ms=N             sleep this long first (default 0); "never": never end (a test ends it)
//     services=register     register and start the agent's services (an installation), or
//     services=unregister   stop and delete them (a removal)
//     reboot-marker=set     create the reboot marker key (64-bit view), or "clear" it
//   Installer.calls.txt / setupdownloader.calls.txt the command line of every start, exactly as
//                         GetCommandLineW gives it, UTF-8, one per line
//   Installer.cwd.txt / setupdownloader.cwd.txt     the working folder of every start, likewise
// A malformed behaviour file ends the program with 13, a failed action with its Win32 code; both
// print a line on stderr.
#include <windows.h>

#include <cstdio>

#include "base/text.h"
#include "sim/agent/agent_layout.h"
#include "sim/agent/agent_services.h"
#include "sim/agent/registry_state.h"
#include "sim/agent/sim_files.h"

namespace tarn::sim {
namespace {

#ifdef SIM_SETUP_DOWNLOADER
constexpr Module kRole = Module::kSetupDownloader;
#else
constexpr Module kRole = Module::kInstaller;
#endif

uint32_t Fail(const char* what, uint32_t code) {
  fprintf(stderr, "%ls stand-in: %s (error %u)\n", ModuleFileName(kRole), what, code);
  return code;
}

std::wstring WorkingFolder() {
  std::wstring folder(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data());
    if (length < folder.size()) {
      folder.resize(length);
      return folder;
    }
    folder.resize(length);
  }
}

// exit-code: a 32-bit number, written unsigned or, for the codes a program returns as a negative
// int, with a minus sign.
bool ExitCodeSetting(const Settings& settings, uint32_t* code) {
  const auto found = settings.find("exit-code");
  if (found == settings.end() || found->second.empty() || found->second[0] != '-') {
    return SettingNumber(settings, "exit-code", 0, code);
  }
  uint32_t magnitude = 0;
  if (!SettingNumber({{"n", found->second.substr(1)}}, "n", 0, &magnitude) ||
      magnitude > 0x80000000u) {
    return false;
  }
  *code = 0u - magnitude;
  return true;
}

uint32_t Run() {
  const std::filesystem::path dir = ModuleDirectory(reinterpret_cast<const void*>(&Run));
  if (uint32_t code = AppendLine(CallRecordFile(kRole, dir), WideToUtf8(GetCommandLineW()))) {
    return Fail("cannot record the command line", code);
  }
  if (uint32_t code =
          AppendLine(WorkingFolderRecordFile(kRole, dir), WideToUtf8(WorkingFolder()))) {
    return Fail("cannot record the working folder", code);
  }

  std::string text;
  const uint32_t readCode = ReadFileBytes(BehaviorFile(kRole, dir), &text);
  if (readCode != 0 && readCode != ERROR_FILE_NOT_FOUND) {
    return Fail("cannot read the behaviour file", readCode);
  }
  const Settings settings = ParseSettings(text);
  uint32_t exitCode = 0, waitMs = 0;
  const auto wait = settings.find("wait-ms");
  const bool never = wait != settings.end() && wait->second == "never";
  if (!ExitCodeSetting(settings, &exitCode) ||
      (!never && !SettingNumber(settings, "wait-ms", 0, &waitMs))) {
    return Fail("exit-code and wait-ms take a decimal number", ERROR_INVALID_DATA);
  }
  const auto setting = [&settings](const char* key) {
    const auto found = settings.find(key);
    return found == settings.end() ? std::string() : found->second;
  };
  const std::string services = setting("services"), marker = setting("reboot-marker");
  if ((!services.empty() && services != "register" && services != "unregister") ||
      (!marker.empty() && marker != "set" && marker != "clear")) {
    return Fail("services takes register or unregister, reboot-marker set or clear",
                ERROR_INVALID_DATA);
  }

  Sleep(never ? INFINITE : waitMs);
  if (!services.empty()) {
    const uint32_t code =
        services == "register" ? RegisterAgentServices(true) : UnregisterAgentServices();
    if (code) return Fail("cannot change the agent's services", code);
  }
  if (!marker.empty()) {
    const uint32_t code =
        marker == "set" ? SetRebootMarker(RegistryView::k64Bit) : ClearRebootMarker();
    if (code) return Fail("cannot change the reboot marker", code);
  }
  return exitCode;
}

}  // namespace
}  // namespace tarn::sim

// The exit code is a full 32-bit value: a parent reading GetExitCodeProcess sees it whole.
int wmain() { return static_cast<int>(tarn::sim::Run()); }
