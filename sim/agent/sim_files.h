// Small file helpers of the simulator: whole-file reads and writes, line records, and the
// "key=value" behaviour files that tell a stand-in how to answer.
//
// Every function returns a Win32 error code (0 = success) and leaves its out-parameters alone on
// failure.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::sim {

[[nodiscard]] uint32_t CreateDirectories(const std::filesystem::path& dir);
[[nodiscard]] uint32_t ReadFileBytes(const std::filesystem::path& path, std::string* bytes);
// Replaces the file; creates its folder first.
[[nodiscard]] uint32_t WriteFileBytes(const std::filesystem::path& path, std::string_view bytes);
// Appends `line` and "\n" in one write, so stand-ins started side by side never interleave.
[[nodiscard]] uint32_t AppendLine(const std::filesystem::path& path, std::string_view line);
// The file's lines without their "\n" (and a "\r" before it). A missing file gives 2.
[[nodiscard]] uint32_t ReadLines(const std::filesystem::path& path,
                                 std::vector<std::string>* lines);
// Copies over an existing file; creates the target's folder first.
[[nodiscard]] uint32_t CopyFileTo(const std::filesystem::path& from,
                                  const std::filesystem::path& to);
// Deletes a folder and everything in it; a missing folder is success.
[[nodiscard]] uint32_t DeleteTree(const std::filesystem::path& dir);

// One "key=value" per line; blank lines and lines starting with "#" are skipped. The value is
// everything after the first "=", kept exactly (a final "\r" is dropped). Later keys win.
using Settings = std::map<std::string, std::string>;
Settings ParseSettings(std::string_view text);
std::string FormatSettings(const Settings& settings);
// A setting read as an unsigned decimal number; `fallback` when absent, false when malformed.
bool SettingNumber(const Settings& settings, const std::string& key, uint32_t fallback,
                   uint32_t* value);

// The folder of the module (exe or DLL) that contains `addressInModule`; null: the program's.
std::filesystem::path ModuleDirectory(const void* addressInModule);

}  // namespace tarn::sim
