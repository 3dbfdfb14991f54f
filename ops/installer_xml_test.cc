#include "ops/installer_xml.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "base/result_codes.h"
#include "base/test_log_capture.h"
#include "base/test_temp_dir.h"

namespace tarn {
namespace {

// Real-shaped: a declaration, comments, attributes in several forms, entities, CDATA, and
// elements named like the edited ones elsewhere in the tree.
constexpr char kInstallerXml[] = R"(<?xml version="1.0" encoding="utf-8"?>
<!-- package builder output -->
<config>
    <product name="TARN &amp; Co" version='7.9.12.345'/>
    <installFolder>C:\Program Files\Arvantis\TARN</installFolder>
    <forceResumeAfterReboot>0</forceResumeAfterReboot>
    <features>
        <feature id="FileScan" action="1"/>
        <!-- switched off by the administrator -->
        <feature id="Firewall" action="2" note="&lt;managed&gt;"/>
        <group><feature id="Nested" action="1"/></group>
        <feature id="AntiExploit" action="1"></feature>
    </features>
    <notes><![CDATA[R&D <laptops>]]></notes>
    <other><forceResumeAfterReboot>7</forceResumeAfterReboot></other>
</config>
)";

// Every element in document order as "path attributes = text", to compare trees.
void Flatten(const tinyxml2::XMLElement* element, const std::string& parent,
             std::vector<std::string>& out) {
  for (; element != nullptr; element = element->NextSiblingElement()) {
    std::string line = parent + "/" + element->Name();
    for (auto* a = element->FirstAttribute(); a != nullptr; a = a->Next()) {
      line += std::string(" ") + a->Name() + "=" + a->Value();
    }
    line += std::string(" = ") + (element->GetText() ? element->GetText() : "");
    out.push_back(line);
    Flatten(element->FirstChildElement(), parent + "/" + element->Name(), out);
  }
}

std::vector<std::string> Tree(const std::string& text) {
  tinyxml2::XMLDocument document;
  EXPECT_EQ(document.Parse(text.data(), text.size()), tinyxml2::XML_SUCCESS) << text;
  std::vector<std::string> lines;
  Flatten(document.FirstChildElement(), "", lines);
  return lines;
}

class InstallerXmlTest : public ::testing::Test {
 protected:
  std::wstring Write(const std::string& text) {
    std::ofstream(path(), std::ios::binary) << text;
    return path().wstring();
  }
  std::string Read() {
    std::ifstream in(path(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  std::filesystem::path path() const { return dir_.path() / "installer.xml"; }

  TempDir dir_;
  LogCapture log_{"tarn-installer-xml"};
};

TEST_F(InstallerXmlTest, EachEditChangesExactlyItsValues) {
  std::vector<std::string> expected = Tree(kInstallerXml);
  const std::wstring file = Write(kInstallerXml);

  ASSERT_EQ(UpdateXmlNode(file, kResumeAfterRebootNode, "1", log_.get()), 0u);
  expected[3] = "/config/forceResumeAfterReboot = 1";
  EXPECT_EQ(Tree(Read()), expected);

  ASSERT_EQ(SetFeatureActions(file, log_.get()), 0u);
  for (size_t line : {5, 6, 9}) {
    expected[line].replace(expected[line].find("action=") + 7, 1, "0");
  }
  EXPECT_EQ(Tree(Read()), expected);  // the nested feature is not a child of "features"
  EXPECT_EQ(log_.Take(),
            (std::vector<std::string>{
                "Updating xml installer config file node\"forceResumeAfterReboot\" with the "
                "following value:1",
                "XML updated successfully",
                "Updating xml installer config file\"" + path().string() +
                    "\" with value the value 0 for action attribute for every feature node",
                "XML updated successfully"}));
}

TEST_F(InstallerXmlTest, RefusedEditsLeaveTheFileAsItWas) {
  enum Edit { kResume, kFeatures };
  const struct {
    const char* name;
    std::string text;
    Edit edit;
    uint32_t code;
    const char* line;
  } cases[] = {
      {"not XML", "config=1", kResume, kErrorInvalidData, "Invalid XML file"},
      {"empty", "", kFeatures, kErrorInvalidData, "Invalid XML file"},
      {"unclosed", "<config><features>", kFeatures, kErrorInvalidData, "Invalid XML file"},
      {"other root", "<configuration><forceResumeAfterReboot/></configuration>", kResume,
       kErrorInvalidData, "Cannot find \"config\" node in XML"},
      {"no resume node", "<config><other><forceResumeAfterReboot/></other></config>", kResume,
       kErrorInvalidData, "Cannot find the node"},
      {"no features", "<config><feature action=\"1\"/></config>", kFeatures, kErrorInvalidData,
       "Cannot find \"features\" node in XML"},
      {"a feature without action",
       "<config><features><feature action=\"1\"/><feature Action=\"1\"/></features></config>",
       kFeatures, kErrorInvalidData,
       "Cannot find \"action\" attribute for one or more features nodes"},
  };
  for (const auto& c : cases) {
    const std::wstring file = Write(c.text);
    const uint32_t code = c.edit == kResume
                              ? UpdateXmlNode(file, kResumeAfterRebootNode, "1", log_.get())
                              : SetFeatureActions(file, log_.get());
    EXPECT_EQ(code, c.code) << c.name;
    EXPECT_EQ(log_.Take().back(), c.line) << c.name;
    EXPECT_EQ(Read(), c.text) << c.name;
  }
  EXPECT_EQ(UpdateXmlNode((dir_.path() / "absent.xml").wstring(), "node", "1", nullptr),
            kErrorInvalidData);
}

}  // namespace
}  // namespace tarn
