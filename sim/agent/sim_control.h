// The simulated agent's control library: installs the agent's stand-ins into the running Wine
// prefix and changes their state the way tests and the demo need. simctl.exe is its command line.
//
// Every function returns a Win32 error code (0 = success) and leaves out-parameters alone on
// failure.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "sim/agent/agent_layout.h"
#include "sim/agent/agent_services.h"
#include "sim/agent/config_file.h"
#include "sim/agent/registry_state.h"
#include "sim/agent/scan_logs.h"
#include "sim/agent/sim_files.h"

namespace tarn::sim {

inline constexpr wchar_t kDefaultScenario[] = L"healthy";
inline constexpr wchar_t kDefaultVariant[] = L"timestamped";

// Where the stand-ins come from: a folder laid out as the build tree's "sim" folder,
//   bin\                  unsigned modules, oxsvc.exe, simctl.exe
//   signed\<variant>\     the signed variants of oxsdk.dll, kv.dll, Installer.exe, ...
//   scenarios\<name>.json the named scenarios
struct Kit {
  std::filesystem::path root;
};
// The kit of a build tree, for programs built into its top folder (the test programs).
Kit KitOfBuildTree(const std::filesystem::path& buildDir);

// signed\<variant>\<file>; when that variant is not there, the unsigned bin\<file>, with a note
// on stderr. 2 when neither exists.
[[nodiscard]] uint32_t ModuleVariantPath(const Kit& kit, Module module, const std::wstring& variant,
                                         std::filesystem::path* file);
[[nodiscard]] uint32_t CopyModuleVariant(const Kit& kit, Module module, const std::wstring& variant,
                                         const std::filesystem::path& destination);
// Puts the variant where the agent keeps the module: oxsdk.dll in the agent directory, the
// Installer.exe in its setup folder. kv.dll and setupdownloader.exe live beside the tool or
// wherever a test puts them (CopyModuleVariant): ERROR_INVALID_PARAMETER.
[[nodiscard]] uint32_t UseModuleVariant(const Kit& kit, Module module, const std::wstring& variant);

struct InstallOptions {
  std::wstring scenario = kDefaultScenario;
  std::wstring variant = kDefaultVariant;  // of oxsdk.dll and Installer.exe
  ConfigLayout layout = ConfigLayout::kCurrent;
  ConfigEncoding encoding = ConfigEncoding::kNoMark;
  Identity identity = DefaultIdentity();
  bool startServices = true;
};

// A fresh installation: removes any earlier one, then creates the agent directory with the
// service images, oxsdk.dll, the setup folder's Installer.exe, the scenario and the
// configuration file, registers both services and (by default) starts them.
[[nodiscard]] uint32_t InstallAgent(const Kit& kit, const InstallOptions& options);
// Stops and deletes the services, deletes their keys, the reboot marker and the agent directory.
[[nodiscard]] uint32_t RemoveAgent();

// Installs scenarios\<name>.json of the kit as the agent's scenario. "healthy" falls back to an
// empty scenario ("{}") while the kit has none (with a note on stderr).
[[nodiscard]] uint32_t SelectScenario(const Kit& kit, const std::wstring& name);
[[nodiscard]] uint32_t WriteScenario(std::string_view json);

// The requests oxsdk.dll has recorded, one JSON text each (none yet: an empty list).
[[nodiscard]] uint32_t ReadJournal(std::vector<std::string>* lines);
[[nodiscard]] uint32_t ClearJournal();

// What the stand-in `module` recorded in `dir`: its command lines (Installer.exe,
// setupdownloader.exe) or its calls as JSON texts (kv.dll), oldest first; none yet: empty.
[[nodiscard]] uint32_t ReadCallRecord(Module module, const std::filesystem::path& dir,
                                      std::vector<std::string>* lines);
// The working folders Installer.exe or setupdownloader.exe in `dir` started in, oldest first.
[[nodiscard]] uint32_t ReadWorkingFolderRecord(Module module, const std::filesystem::path& dir,
                                               std::vector<std::string>* lines);
// Replaces the behaviour file of `module` in `dir` (see sim/README.md for the keys).
[[nodiscard]] uint32_t WriteBehavior(Module module, const std::filesystem::path& dir,
                                     const Settings& settings);

}  // namespace tarn::sim
