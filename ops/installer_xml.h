// The installer's XML configuration file, edited before an installation: resume after a reboot,
// and a core install that switches every feature off. Each edit loads the file, changes exactly
// what it names and saves the file over itself; a failed edit leaves the file as it was.
#pragma once

#include <cstdint>
#include <string>

namespace tinyxml2 {
class XMLDocument;
}

namespace tarn {

class Logger;

// The child of "config" whose text "1" asks the installer to resume after a reboot.
inline constexpr const char* kResumeAfterRebootNode = "forceResumeAfterReboot";

// Sets the text of the child `node` of the root element "config".
/// Returns 0, or 13 when "config" or the node is missing (the document is then unchanged).
[[nodiscard]] uint32_t SetConfigNodeText(tinyxml2::XMLDocument& document, const std::string& node,
                                         const std::string& value, Logger* log);

// Sets the attribute "action" to "0" on every "feature" child of "config"/"features".
/// Returns 0, or 13 when "config" or "features" is missing or a feature has no "action" (the
/// document is then unchanged).
[[nodiscard]] uint32_t SetEveryFeatureAction(tinyxml2::XMLDocument& document, Logger* log);

// The document as the tool saves it.
std::string PrintXml(const tinyxml2::XMLDocument& document);

// The edits on the file at `xmlPath`.
/// Return 0; 13 when the file cannot be read, is not XML or lacks what the edit needs; 29 when
/// it cannot be written. The file is unchanged on failure.
[[nodiscard]] uint32_t UpdateXmlNode(const std::wstring& xmlPath, const std::string& node,
                                     const std::string& value, Logger* log);
[[nodiscard]] uint32_t SetFeatureActions(const std::wstring& xmlPath, Logger* log);

}  // namespace tarn
