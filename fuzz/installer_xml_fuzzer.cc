// The installer XML edits on arbitrary documents. What the tool saves must load again and hold
// the edited values; an edit that is refused must change nothing.
#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/fuzz_check.h"
#include "ops/installer_xml.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using tarn::Require;
  tinyxml2::XMLDocument document;
  if (document.Parse(reinterpret_cast<const char*>(data), size) != tinyxml2::XML_SUCCESS) {
    return 0;
  }
  const std::string before = tarn::PrintXml(document);
  const bool resumed =
      tarn::SetConfigNodeText(document, tarn::kResumeAfterRebootNode, "1", nullptr) == 0;
  if (!resumed) Require(tarn::PrintXml(document) == before);
  const std::string middle = tarn::PrintXml(document);
  const bool core = tarn::SetEveryFeatureAction(document, nullptr) == 0;
  const std::string saved = tarn::PrintXml(document);
  if (!core) Require(saved == middle);

  if (!resumed && !core) return 0;  // nothing is saved

  // The parser takes some malformed text (an end tag at the top level) that it cannot read
  // back once printed; the edits must not break a document that reads back unedited.
  tinyxml2::XMLDocument unedited;
  if (unedited.Parse(before.data(), before.size()) != tinyxml2::XML_SUCCESS) return 0;
  tinyxml2::XMLDocument again;
  Require(again.Parse(saved.data(), saved.size()) == tinyxml2::XML_SUCCESS);
  const tinyxml2::XMLElement* config = again.FirstChildElement("config");
  if (resumed) {
    const tinyxml2::XMLElement* node = config->FirstChildElement(tarn::kResumeAfterRebootNode);
    Require(node != nullptr && node->GetText() != nullptr &&
            std::strcmp(node->GetText(), "1") == 0);
  }
  if (core) {
    for (auto* feature = config->FirstChildElement("features")->FirstChildElement("feature");
         feature != nullptr; feature = feature->NextSiblingElement("feature")) {
      Require(feature->Attribute("action", "0") != nullptr);
    }
  }
  return 0;
}
