#include "sim/agent/agent_layout.h"

#include "base/text.h"

namespace tarn::sim {
namespace {

struct ModuleNames {
  Module module;
  const wchar_t* word;
  const wchar_t* file;
  const wchar_t* stem;
};

constexpr ModuleNames kModules[] = {
    {Module::kOxsdk, L"oxsdk", L"oxsdk.dll", L"oxsdk"},
    {Module::kKv, L"kv", L"kv.dll", L"kv"},
    {Module::kInstaller, L"installer", L"Installer.exe", L"Installer"},
    {Module::kSetupDownloader, L"setupdownloader", L"setupdownloader.exe", L"setupdownloader"},
};

const ModuleNames& NamesOf(Module module) {
  for (const auto& names : kModules) {
    if (names.module == module) return names;
  }
  return kModules[0];
}

}  // namespace

const wchar_t* ModuleFileName(Module module) { return NamesOf(module).file; }

bool ParseModule(const std::wstring& word, Module* module) {
  for (const auto& names : kModules) {
    if (EqualsIgnoreCase(word, names.word) || EqualsIgnoreCase(word, names.file)) {
      *module = names.module;
      return true;
    }
  }
  return false;
}

std::filesystem::path BehaviorFile(Module module, const std::filesystem::path& dir) {
  return dir / (std::wstring(NamesOf(module).stem) + L".sim.txt");
}

std::filesystem::path CallRecordFile(Module module, const std::filesystem::path& dir) {
  const wchar_t* suffix = module == Module::kKv ? L".calls.jsonl" : L".calls.txt";
  return dir / (std::wstring(NamesOf(module).stem) + suffix);
}

std::filesystem::path WorkingFolderRecordFile(Module module, const std::filesystem::path& dir) {
  return dir / (std::wstring(NamesOf(module).stem) + L".cwd.txt");
}

std::filesystem::path AgentDirectory() { return kAgentDirectory; }

std::filesystem::path SetupInstallerPath() {
  return AgentDirectory() / L"EndpointSetupInformation" / kSetupFolderName /
         ModuleFileName(Module::kInstaller);
}

std::filesystem::path ScenarioPath() { return AgentDirectory() / kSimFolder / kScenarioFile; }
std::filesystem::path JournalPath() { return AgentDirectory() / kSimFolder / kJournalFile; }

}  // namespace tarn::sim
