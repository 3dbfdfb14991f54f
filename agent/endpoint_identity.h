// The endpoint's identity as the authorization gate compares it: hardware id, company id and
// group id. The agent's own answer (the Kivoro identity) comes first; the agent's configuration
// file, in whichever text encoding the installed agent wrote it, is the fallback and the only
// source of the group id.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn {

class Logger;

// Text encodings of the configuration file, numbered as its first bytes are classified.
inline constexpr uint32_t kEncodingNoMark = 0;  // UTF-8
inline constexpr uint32_t kEncodingUtf7Mark = 1;
inline constexpr uint32_t kEncodingUtf8Mark = 2;
inline constexpr uint32_t kEncodingUtf16BigEndian = 3;
inline constexpr uint32_t kEncodingUtf16LittleEndian = 4;
inline constexpr uint32_t kEncodingUtf32BigEndian = 5;
inline constexpr uint32_t kEncodingUtf32LittleEndian = 6;

// --- Platform-free steps ---------------------------------------------------------------------

// The encoding announced by the first bytes of a file (up to 5 of them matter).
uint32_t ClassifyEncoding(std::string_view firstBytes);

// The whole file's bytes as UTF-8 text, without its mark. Malformed sequences become U+FFFD.
/// Returns 0, or 1006 for the UTF-32 encodings (and unknown codes); `text` is untouched then.
[[nodiscard]] uint32_t DecodeConfigText(std::string_view bytes, uint32_t encoding,
                                        std::string& text);

// Parses the configuration text and copies the members asked for (null: not wanted), logging
// each. A member that is missing or not a string leaves its output as it was.
/// Returns 0, or 13 when the text is not a JSON object.
[[nodiscard]] uint32_t ReadConfigText(const std::string& text, std::string* hardwareId,
                                      std::string* groupId, std::string* companyId, Logger* log);

// Copies "endpointID" and "companyID" of the Kivoro reply's output, logging the search. A member
// that is missing or not a string leaves its output as it was.
void ReadKivoroIdentity(const rapidjson::Value& output, std::string& companyId,
                        std::string& hardwareId, Logger* log);

// --- Windows side (endpoint_identity_win.cc) --------------------------------------------------

// Empties the outputs passed (null: not wanted), asks the agent first when `askAgentFirst`, and
// reads from the file at `configPath` what the agent did not give: the group id always, the
// hardware and company ids when the agent was not asked or failed. The file's own result is not
// returned: an output it could not fill stays empty.
/// Returns 30 when the agent was not asked, else GetKivoroIdentity's result.
[[nodiscard]] uint32_t GetEndpointInformation(std::string* hardwareId, std::string* groupId,
                                              std::string* companyId,
                                              const std::wstring& configPath, bool askAgentFirst,
                                              Logger* log);

// Asks the agent for its Kivoro identity ("ar.Product.Configuration.GetKivoroIdentity").
/// Returns the SDK wrapper's code; the outputs are untouched on failure. A reply without
/// "endpointID" or "companyID" is still 0: the agent answered, and the output stays as it was.
[[nodiscard]] uint32_t GetKivoroIdentity(std::string& companyId, std::string& hardwareId,
                                         Logger* log);

// Reads the ids asked for (null: not wanted) from the agent's configuration file.
/// Returns 0; GetFileEncoding's code; 1006 for UTF-32; the system error when the file cannot be
/// opened or read; 13 when its text is not a JSON object. Outputs are only written on success.
[[nodiscard]] uint32_t ReadAgentConfigFile(const std::wstring& path, std::string* hardwareId,
                                           std::string* groupId, std::string* companyId,
                                           Logger* log);

// Classifies the file at `path` by its first bytes (opened for reading, shared for reading).
/// Returns 0 or the system error of the open or read; `encoding` is untouched on failure.
[[nodiscard]] uint32_t GetFileEncoding(const std::wstring& path, uint32_t& encoding);

}  // namespace tarn
