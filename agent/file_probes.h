// Probes of files: existence and version resource. Each logs its steps and reports failure as a
// Win32 error code; none throws.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

/// 0 when `path` names an existing file that is not a directory, else 2.
[[nodiscard]] uint32_t FileExists(const std::wstring& path, Logger* log);

// Reads the whole file at `path`, sharing it with readers and writers.
/// Returns 0 or the system's error (8 when memory ran out); `bytes` is untouched on failure.
[[nodiscard]] uint32_t ReadWholeFile(const std::wstring& path, std::string& bytes);

// Reads the product version of `path`'s version resource as "a.b.c.d" into `versionText`.
/// Returns a Win32 code; `versionText` is untouched on failure.
[[nodiscard]] uint32_t GetFileVersionString(const std::wstring& path, std::string& versionText,
                                            Logger* log);

}  // namespace tarn
