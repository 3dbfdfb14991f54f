// The agent's configuration file, "oxagng\oxagng.jso" (current layout) or "oxag\oxag.jso"
// (legacy layout): a JSON text with the endpoint's identity, stored in one of the text encodings
// the agent has used over the years, each announced by its mark.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tarn::sim {

// Numbered as the tool classifies a file by its first bytes.
enum class ConfigEncoding : uint32_t {
  kNoMark = 0,             // UTF-8, no mark
  kUtf7Mark = 1,           // "+/v8-", then the text (plain ASCII reads the same in UTF-7)
  kUtf8Mark = 2,           // EF BB BF, UTF-8
  kUtf16BigEndian = 3,     // FE FF
  kUtf16LittleEndian = 4,  // FF FE
  kUtf32BigEndian = 5,     // 00 00 FE FF
  kUtf32LittleEndian = 6,  // FF FE 00 00
};

enum class ConfigLayout { kCurrent, kLegacy };

// Members of the file; an absent one is left out of the text, to give a tool a file without it.
struct Identity {
  std::optional<std::string> hwid;             // top-level "hwid"
  std::optional<std::string> custid;           // top-level "custid"
  std::optional<std::string> computersFolder;  // "customdata" / "ComputersFolder"
};

// The identity an installation gets unless the caller chooses another.
Identity DefaultIdentity();

// "none", "utf7", "utf8", "utf16be", "utf16le", "utf32be", "utf32le" or the code 0..6.
bool ParseEncoding(const std::wstring& word, ConfigEncoding* encoding);

std::filesystem::path ConfigFilePath(ConfigLayout layout);
// Writes the file of `layout` into the agent directory. Returns a Win32 code.
[[nodiscard]] uint32_t WriteAgentConfig(ConfigLayout layout, ConfigEncoding encoding,
                                        const Identity& identity);

}  // namespace tarn::sim
