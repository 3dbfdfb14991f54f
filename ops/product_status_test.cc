#include "ops/product_status.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

using Walk = std::string (*)(const rapidjson::Value&, Logger*);

TEST(ProductStatusTest, WalksBuildTheirAnswers) {
  struct Case {
    const char* name;
    Walk walk;
    const char* output;
    const char* payload;
  } cases[] = {
      {"critical in any case, document order", CollectCriticalIssues,
       R"({"Alerts":{"B":{"severity":"critical"},"x":{"severity":"info"},"A":{"severity":"Critical"}}})",
       "B|A"},
      {"mistyped alerts skipped", CollectCriticalIssues,
       R"({"Alerts":{"N":{"severity":3},"S":"critical","M":{},"C":{"severity":"CRITICAL"}}})", "C"},
      {"alerts not an object", CollectCriticalIssues, R"({"Alerts":[]})", ""},
      {"an alert named \"\" is still an entry", CollectCriticalIssues,
       R"({"Alerts":{"":{"severity":"critical"},"B":{"severity":"critical"}}})", "|B"},
      {"locations", CollectUpdateLocations, R"({"Locations":{"Product":{},"Antivirus":7}})",
       "Product|Antivirus"},
      {"no locations", CollectUpdateLocations, R"({"Locations":"x"})", ""},
      {"version", FindProductVersion, R"({"Locations":{"Product":{"Version":"12.0.1.5"}}})",
       "12.0.1.5"},
      {"version of the wrong type", FindProductVersion,
       R"({"Locations":{"Product":{"Version":12}}})", ""},
      {"product not an object", FindProductVersion, R"({"Locations":{"Product":"12"}})", ""},
      {"negative, beyond 32 bits", FindLastUpdateTime, R"({"LastUpdateTime":-4102444800})",
       "-4102444800"},
      {"fractional last update", FindLastUpdateTime, R"({"LastUpdateTime":1.5})", ""},
      {"last update as text", FindLastUpdateTime, R"({"LastUpdateTime":"1600000000"})", ""},
      {"last update beyond 64 bits", FindLastUpdateTime,
       R"({"LastUpdateTime":9223372036854775808})", ""},
      {"features", CollectFeatureStatus,
       R"({"Features":[{"id":"FileScan","isFunctioning":true},{"id":"Firewall","isFunctioning":false},{"id":"AntiExploit","isFunctioning":true}]})",
       "FileScan=1|Firewall=0|AntiExploit=1"},
      {"element without id adds nothing", CollectFeatureStatus,
       R"({"Features":[{"enabled":true},{"id":"A","enabled":true},{"id":5},{"id":"B","enabled":false}]})",
       "A=1|B=0"},
      {"isFunctioning wins over enabled", CollectFeatureStatus,
       R"({"Features":[{"id":"A","isFunctioning":false,"enabled":true},{"id":"B","isFunctioning":"yes"}]})",
       "A=0|B=0"},
      {"enabled missing or mistyped", CollectFeatureStatus,
       R"({"Features":[{"id":"A"},{"id":"B","enabled":1}]})", "A=0|B=0"},
      {"no features", CollectFeatureStatus, R"({"Features":[]})", ""},
      {"features not an array", CollectFeatureStatus, R"({"Features":{"id":"A"}})", ""},
  };
  for (const auto& c : cases) {
    rapidjson::Document output;
    output.Parse(c.output);
    ASSERT_FALSE(output.HasParseError()) << c.name;
    EXPECT_EQ(c.walk(output, nullptr), c.payload) << c.name;
  }
}

}  // namespace
}  // namespace tarn
