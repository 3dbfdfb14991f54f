#include "sim/agent/sim_control.h"

#include <windows.h>

#include <cstdio>

#include "sim/agent/sim_files.h"

namespace tarn::sim {
namespace {

bool IsFile(const std::filesystem::path& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

uint32_t ReadRecord(const std::filesystem::path& file, std::vector<std::string>* lines) {
  std::vector<std::string> result;
  const uint32_t code = ReadLines(file, &result);
  if (code != 0 && code != ERROR_FILE_NOT_FOUND && code != ERROR_PATH_NOT_FOUND) return code;
  *lines = std::move(result);
  return 0;
}

}  // namespace

Kit KitOfBuildTree(const std::filesystem::path& buildDir) { return {buildDir / L"sim"}; }

uint32_t ModuleVariantPath(const Kit& kit, Module module, const std::wstring& variant,
                           std::filesystem::path* file) {
  const std::filesystem::path signedFile = kit.root / L"signed" / variant / ModuleFileName(module);
  if (IsFile(signedFile)) {
    *file = signedFile;
    return 0;
  }
  const std::filesystem::path unsignedFile = kit.root / L"bin" / ModuleFileName(module);
  if (!IsFile(unsignedFile)) return ERROR_FILE_NOT_FOUND;
  fwprintf(stderr, L"simulator: no %ls variant of %ls in %ls; using the unsigned file\n",
           variant.c_str(), ModuleFileName(module), kit.root.c_str());
  *file = unsignedFile;
  return 0;
}

uint32_t CopyModuleVariant(const Kit& kit, Module module, const std::wstring& variant,
                           const std::filesystem::path& destination) {
  std::filesystem::path source;
  if (uint32_t code = ModuleVariantPath(kit, module, variant, &source)) return code;
  return CopyFileTo(source, destination);
}

uint32_t UseModuleVariant(const Kit& kit, Module module, const std::wstring& variant) {
  switch (module) {
    case Module::kOxsdk:
      return CopyModuleVariant(kit, module, variant, AgentDirectory() / ModuleFileName(module));
    case Module::kInstaller:
      return CopyModuleVariant(kit, module, variant, SetupInstallerPath());
    default:
      return ERROR_INVALID_PARAMETER;
  }
}

namespace {

// The service manager deletes a removed service's key once its last handle closes, on its own
// time: a re-install that follows a removal closely can meet the key or the service still marked
// for deletion. Those two answers are retried for a bounded while (3 s); any other is final.
template <typename Step>
uint32_t OnceDeletionSettled(Step step) {
  uint32_t code = 0;
  for (int attempt = 0; attempt < 30; ++attempt) {
    code = step();
    if (code != ERROR_KEY_DELETED && code != ERROR_SERVICE_MARKED_FOR_DELETE) return code;
    Sleep(100);
  }
  return code;
}

}  // namespace

uint32_t InstallAgent(const Kit& kit, const InstallOptions& options) {
  if (uint32_t code = OnceDeletionSettled(RemoveAgent)) return code;
  for (const auto& service : kAgentServices) {
    if (uint32_t code =
            CopyFileTo(kit.root / L"bin" / kServiceProgram, AgentDirectory() / service.image)) {
      return code;
    }
  }
  for (Module module : {Module::kOxsdk, Module::kInstaller}) {
    if (uint32_t code = UseModuleVariant(kit, module, options.variant)) return code;
  }
  if (uint32_t code = SelectScenario(kit, options.scenario)) return code;
  if (uint32_t code = WriteAgentConfig(options.layout, options.encoding, options.identity)) {
    return code;
  }
  return OnceDeletionSettled([&] { return RegisterAgentServices(options.startServices); });
}

uint32_t RemoveAgent() {
  if (uint32_t code = UnregisterAgentServices()) return code;
  if (uint32_t code = DropSavedSecurityServiceKey()) return code;
  if (uint32_t code = ClearRebootMarker()) return code;
  if (uint32_t code = DeleteTree(AgentDirectory())) return code;
  RemoveDirectoryW(AgentDirectory().parent_path().c_str());  // the maker's folder, when empty
  return 0;
}

uint32_t SelectScenario(const Kit& kit, const std::wstring& name) {
  const std::filesystem::path file = kit.root / L"scenarios" / (name + L".json");
  if (IsFile(file)) return CopyFileTo(file, ScenarioPath());
  if (name != kDefaultScenario) return ERROR_FILE_NOT_FOUND;
  fwprintf(stderr, L"simulator: %ls not found; using an empty scenario\n", file.c_str());
  return WriteScenario("{}");
}

uint32_t WriteScenario(std::string_view json) { return WriteFileBytes(ScenarioPath(), json); }

uint32_t ReadJournal(std::vector<std::string>* lines) { return ReadRecord(JournalPath(), lines); }

uint32_t ClearJournal() {
  if (DeleteFileW(JournalPath().c_str())) return 0;
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? 0 : error;
}

uint32_t ReadCallRecord(Module module, const std::filesystem::path& dir,
                        std::vector<std::string>* lines) {
  return ReadRecord(CallRecordFile(module, dir), lines);
}

uint32_t ReadWorkingFolderRecord(Module module, const std::filesystem::path& dir,
                                 std::vector<std::string>* lines) {
  return ReadRecord(WorkingFolderRecordFile(module, dir), lines);
}

uint32_t WriteBehavior(Module module, const std::filesystem::path& dir, const Settings& settings) {
  return WriteFileBytes(BehaviorFile(module, dir), FormatSettings(settings));
}

}  // namespace tarn::sim
