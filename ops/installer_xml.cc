#include "ops/installer_xml.h"

#include <tinyxml2.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

constexpr const char* kFeatureAction = "0";

tinyxml2::XMLElement* ConfigElement(tinyxml2::XMLDocument& document, Logger* log) {
  tinyxml2::XMLElement* config = document.FirstChildElement("config");
  if (config == nullptr) WriteLog(log, L"Cannot find \"config\" node in XML");
  return config;
}

// Reads and parses the whole file; a mark in front of the text is kept for the save.
bool LoadXml(const std::wstring& path, tinyxml2::XMLDocument& document) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  if (!file) return false;
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (file.bad()) return false;
  return document.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
}

bool SaveXml(const std::wstring& path, const tinyxml2::XMLDocument& document) {
  const std::string text = PrintXml(document);
  std::ofstream file(std::filesystem::path(path), std::ios::binary | std::ios::trunc);
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  file.close();
  return !file.fail();
}

using DocumentEdit = uint32_t (*)(tinyxml2::XMLDocument& document, const std::string& node,
                                  const std::string& value, Logger* log);

/// 0, or the load's, the edit's or the save's code; the file is unchanged unless it is 0.
[[nodiscard]] uint32_t EditFile(const std::wstring& path, DocumentEdit edit,
                                const std::string& node, const std::string& value, Logger* log) {
  tinyxml2::XMLDocument document;
  if (!LoadXml(path, document)) {
    WriteLog(log, L"Invalid XML file");
    return kErrorInvalidData;
  }
  if (const uint32_t code = edit(document, node, value, log); code != 0) return code;
  if (!SaveXml(path, document)) {
    WriteLog(log, L"Cannot save XML file");
    return kErrorWriteFault;
  }
  WriteLog(log, L"XML updated successfully");
  return 0;
}

}  // namespace

uint32_t SetConfigNodeText(tinyxml2::XMLDocument& document, const std::string& node,
                           const std::string& value, Logger* log) {
  tinyxml2::XMLElement* config = ConfigElement(document, log);
  if (config == nullptr) return kErrorInvalidData;
  tinyxml2::XMLElement* element = config->FirstChildElement(node.c_str());
  if (element == nullptr) {
    WriteLog(log, L"Cannot find the node");
    return kErrorInvalidData;
  }
  element->SetText(value.c_str());
  return 0;
}

uint32_t SetEveryFeatureAction(tinyxml2::XMLDocument& document, Logger* log) {
  tinyxml2::XMLElement* config = ConfigElement(document, log);
  if (config == nullptr) return kErrorInvalidData;
  tinyxml2::XMLElement* features = config->FirstChildElement("features");
  if (features == nullptr) {
    WriteLog(log, L"Cannot find \"features\" node in XML");
    return kErrorInvalidData;
  }
  // Every feature is checked before any is changed, so a refused edit changes nothing.
  for (auto* feature = features->FirstChildElement("feature"); feature != nullptr;
       feature = feature->NextSiblingElement("feature")) {
    if (feature->Attribute("action") == nullptr) {
      WriteLog(log, L"Cannot find \"action\" attribute for one or more features nodes");
      return kErrorInvalidData;
    }
  }
  for (auto* feature = features->FirstChildElement("feature"); feature != nullptr;
       feature = feature->NextSiblingElement("feature")) {
    feature->SetAttribute("action", kFeatureAction);
  }
  return 0;
}

std::string PrintXml(const tinyxml2::XMLDocument& document) {
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return std::string(printer.CStr(), static_cast<size_t>(printer.CStrSize() - 1));
}

uint32_t UpdateXmlNode(const std::wstring& xmlPath, const std::string& node,
                       const std::string& value, Logger* log) {
  WriteLog(log, L"Updating xml installer config file node\"" + Utf8ToWide(node) +
                    L"\" with the following value:" + Utf8ToWide(value));
  return EditFile(xmlPath, SetConfigNodeText, node, value, log);
}

uint32_t SetFeatureActions(const std::wstring& xmlPath, Logger* log) {
  WriteLog(log, L"Updating xml installer config file\"" + xmlPath + L"\" with value the value " +
                    Utf8ToWide(kFeatureAction) + L" for action attribute for every feature node");
  return EditFile(
      xmlPath,
      [](tinyxml2::XMLDocument& document, const std::string&, const std::string&, Logger* log) {
        return SetEveryFeatureAction(document, log);
      },
      "", "", log);
}

}  // namespace tarn
