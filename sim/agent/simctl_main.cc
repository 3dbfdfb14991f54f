// simctl.exe: the simulated agent's control library on the command line (see sim/README.md).
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "base/text.h"
#include "sim/agent/sim_control.h"

namespace tarn::sim {
namespace {

constexpr uint32_t kUsageError = ERROR_BAD_ARGUMENTS;

constexpr char kUsage[] =
    "usage: simctl.exe [--kit DIR] COMMAND [ARGS]\n"
    "  install [SCENARIO] [--variant V] [--legacy] [--encoding E] [--no-start]\n"
    "  remove\n"
    "  scenario NAME                  install scenarios\\NAME.json as the agent's scenario\n"
    "  variant MODULE VARIANT         oxsdk or installer, placed where the agent keeps it\n"
    "  copy MODULE VARIANT PATH       any module's variant to PATH (kv.dll beside the tool)\n"
    "  start SERVICE | stop SERVICE   integration or security\n"
    "  status                         the services' states\n"
    "  key delete | key restore       the security service's registry key\n"
    "  config current|legacy ENCODING [hwid=V] [custid=V] [folder=V] [-hwid] [-custid] "
    "[-folder]\n"
    "                                 ENCODING: none utf7 utf8 utf16be utf16le utf32be utf32le\n"
    "  scanlog TASK FILE START DURATION MTIME\n"
    "                                 TASK: full, quick or a task id; MTIME: seconds since 1970\n"
    "  reboot-marker set [64|32] | reboot-marker clear\n"
    "  journal | journal-clear        the requests oxsdk.dll recorded\n"
    "  behave MODULE DIR KEY=VALUE... write DIR\\<module>.sim.txt (DIR \"agent\": its setup "
    "folder)\n"
    "  calls MODULE DIR               print what the stand-in in DIR recorded\n";

uint32_t Usage() {
  fputs(kUsage, stderr);
  return kUsageError;
}

void PrintLines(const std::vector<std::string>& lines) {
  for (const auto& line : lines) {
    fwrite(line.data(), 1, line.size(), stdout);
    fputc('\n', stdout);
  }
}

std::filesystem::path StandInDirectory(const std::wstring& word) {
  return word == L"agent" ? SetupInstallerPath().parent_path() : std::filesystem::path(word);
}

bool ParseInt64(const std::wstring& text, int64_t* value) {
  if (text.empty()) return false;
  wchar_t* end = nullptr;
  const long long number = wcstoll(text.c_str(), &end, 10);
  if (*end != L'\0') return false;
  *value = number;
  return true;
}

uint32_t Install(const Kit& kit, const std::vector<std::wstring>& args) {
  InstallOptions options;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == L"--variant" && i + 1 < args.size()) {
      options.variant = args[++i];
    } else if (args[i] == L"--encoding" && i + 1 < args.size()) {
      if (!ParseEncoding(args[++i], &options.encoding)) return Usage();
    } else if (args[i] == L"--legacy") {
      options.layout = ConfigLayout::kLegacy;
    } else if (args[i] == L"--no-start") {
      options.startServices = false;
    } else if (i == 0 && args[i].rfind(L"--", 0) != 0) {
      options.scenario = args[i];
    } else {
      return Usage();
    }
  }
  return InstallAgent(kit, options);
}

uint32_t Config(const std::vector<std::wstring>& args) {
  if (args.size() < 2) return Usage();
  ConfigLayout layout;
  if (args[0] == L"current") {
    layout = ConfigLayout::kCurrent;
  } else if (args[0] == L"legacy") {
    layout = ConfigLayout::kLegacy;
  } else {
    return Usage();
  }
  ConfigEncoding encoding;
  if (!ParseEncoding(args[1], &encoding)) return Usage();
  Identity identity = DefaultIdentity();
  const struct {
    const wchar_t* name;
    std::optional<std::string>* member;
  } members[] = {{L"hwid", &identity.hwid},
                 {L"custid", &identity.custid},
                 {L"folder", &identity.computersFolder}};
  for (size_t i = 2; i < args.size(); ++i) {
    bool known = false;
    for (const auto& member : members) {
      const std::wstring name = member.name;
      if (args[i] == L"-" + name) {
        member.member->reset();
        known = true;
      } else if (args[i].rfind(name + L"=", 0) == 0) {
        *member.member = WideToUtf8(args[i].substr(name.size() + 1));
        known = true;
      }
    }
    if (!known) return Usage();
  }
  return WriteAgentConfig(layout, encoding, identity);
}

uint32_t Status() {
  for (const auto& service : kAgentServices) {
    uint32_t state = 0;
    const uint32_t code = QueryAgentServiceState(service, &state);
    const char* text = code == ERROR_SERVICE_DOES_NOT_EXIST ? "not registered"
                       : code != 0                          ? "unknown"
                       : state == SERVICE_RUNNING           ? "running"
                       : state == SERVICE_STOPPED           ? "stopped"
                                                            : "changing";
    printf("%ls: %s\n", service.name, text);
  }
  const DWORD attributes = GetFileAttributesW(AgentDirectory().c_str());
  printf("%ls: %s\n", kAgentDirectory,
         attributes != INVALID_FILE_ATTRIBUTES ? "present" : "absent");
  return 0;
}

uint32_t Run(std::vector<std::wstring> args) {
  Kit kit{ModuleDirectory(nullptr).parent_path()};
  if (args.size() >= 2 && args[0] == L"--kit") {
    kit.root = args[1];
    args.erase(args.begin(), args.begin() + 2);
  }
  if (args.empty()) return Usage();
  if (args[0] == L"help" || args[0] == L"--help") {
    fputs(kUsage, stdout);
    return 0;
  }
  const std::wstring command = args[0];
  args.erase(args.begin());
  const size_t n = args.size();
  Module module;

  if (command == L"install") return Install(kit, args);
  if (command == L"remove" && n == 0) return RemoveAgent();
  if (command == L"scenario" && n == 1) return SelectScenario(kit, args[0]);
  if (command == L"variant" && n == 2 && ParseModule(args[0], &module)) {
    return UseModuleVariant(kit, module, args[1]);
  }
  if (command == L"copy" && n == 3 && ParseModule(args[0], &module)) {
    return CopyModuleVariant(kit, module, args[1], args[2]);
  }
  if ((command == L"start" || command == L"stop") && n == 1) {
    const AgentService* service = FindAgentService(args[0]);
    if (!service) return Usage();
    return command == L"start" ? StartAgentService(*service) : StopAgentService(*service);
  }
  if (command == L"status" && n == 0) return Status();
  if (command == L"key" && n == 1 && args[0] == L"delete") return DeleteSecurityServiceKey();
  if (command == L"key" && n == 1 && args[0] == L"restore") return RestoreSecurityServiceKey();
  if (command == L"config") return Config(args);
  if (command == L"scanlog" && n == 5) {
    int64_t lastWrite = 0;
    if (!ParseInt64(args[4], &lastWrite)) return Usage();
    return WriteScanLog(ScanTaskId(args[0]), args[1],
                        ScanSummaryXml(WideToUtf8(args[2]), WideToUtf8(args[3])), lastWrite);
  }
  if (command == L"reboot-marker" && n >= 1 && args[0] == L"set" && n <= 2) {
    if (n == 2 && args[1] != L"64" && args[1] != L"32") return Usage();
    return SetRebootMarker(n == 2 && args[1] == L"32" ? RegistryView::k32Bit
                                                      : RegistryView::k64Bit);
  }
  if (command == L"reboot-marker" && n == 1 && args[0] == L"clear") return ClearRebootMarker();
  if (command == L"journal" && n == 0) {
    std::vector<std::string> lines;
    if (uint32_t code = ReadJournal(&lines)) return code;
    PrintLines(lines);
    return 0;
  }
  if (command == L"journal-clear" && n == 0) return ClearJournal();
  if (command == L"behave" && n >= 2 && ParseModule(args[0], &module)) {
    Settings settings;
    for (size_t i = 2; i < n; ++i) {
      const size_t equals = args[i].find(L'=');
      if (equals == std::wstring::npos || equals == 0) return Usage();
      settings[WideToUtf8(args[i].substr(0, equals))] = WideToUtf8(args[i].substr(equals + 1));
    }
    return WriteBehavior(module, StandInDirectory(args[1]), settings);
  }
  if (command == L"calls" && n == 2 && ParseModule(args[0], &module)) {
    std::vector<std::string> lines;
    if (uint32_t code = ReadCallRecord(module, StandInDirectory(args[1]), &lines)) return code;
    PrintLines(lines);
    return 0;
  }
  return Usage();
}

}  // namespace
}  // namespace tarn::sim

int wmain(int argc, wchar_t* argv[]) {
  _setmode(_fileno(stdout), _O_BINARY);  // records are printed byte for byte
  const uint32_t code = tarn::sim::Run(std::vector<std::wstring>(argv + 1, argv + argc));
  if (code != 0 && code != ERROR_BAD_ARGUMENTS) {
    fprintf(stderr, "simctl: failed with error %u\n", code);
  }
  return static_cast<int>(code);
}
