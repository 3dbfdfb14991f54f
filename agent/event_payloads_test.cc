#include "agent/event_payloads.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

const RunContext kContext{"o-1", "s-2"};
constexpr char kOurs[] = R"("runContext":{"otherData":"o-1","someData":"s-2"})";

std::string Assessment(const std::string& products, const char* name = kAssessmentEndedEvent) {
  return std::string(R"({"@name":")") + name + R"(",)" + kOurs + R"(,"products":)" + products + "}";
}

TEST(EventPayloadsTest, AssessmentPayloads) {
  struct Case {
    const char* what;
    std::string payload;
    bool taken;
    int64_t result;
    size_t entries;
  } cases[] = {
      {"two products",
       Assessment(R"([{"id":"a","productName":"A","removalSupported":true},)"
                  R"({"id":"b","productName":"B","removalSupported":false,"extra":1}])"),
       true, 0, 2},
      {"no products", Assessment("[]"), true, 0, 0},
      {"not JSON", "{\"@name\":", true, 3, 0},
      {"not an object", "[1]", true, 3, 0},
      {"products an object", Assessment("{}"), true, 3, 0},
      {"products missing",
       std::string(R"({"@name":"Product.CompetitorRemoval.AssessmentEnded",)") + kOurs + "}", true,
       3, 0},
      {"removalSupported as text",
       Assessment(R"([{"id":"a","productName":"A","removalSupported":"true"}])"), true, 3, 0},
      {"id missing after a good entry",
       Assessment(R"([{"id":"a","productName":"A","removalSupported":true},)"
                  R"({"productName":"B","removalSupported":true}])"),
       true, 3, 1},
      {"element not an object", Assessment("[5]"), true, 3, 0},
      {"another event's name", Assessment("[]", kRemovalEndedEvent), true, 0, 0},
      {"name in another case",
       Assessment(R"([{"id":"a","productName":"A","removalSupported":true}])",
                  "product.competitorremoval.assessmentended"),
       true, 0, 0},
      {"foreign run context",
       R"({"@name":"Product.CompetitorRemoval.AssessmentEnded","runContext":{"otherData":"o-1",)"
       R"("someData":"s-3"},"products":[]})",
       false, 0, 0},
      {"run context a prefix of ours",
       R"({"@name":"Product.CompetitorRemoval.AssessmentEnded","runContext":{"otherData":"o-",)"
       R"("someData":"s-2"},"products":[]})",
       false, 0, 0},
      {"run context missing", R"({"@name":"Product.CompetitorRemoval.AssessmentEnded"})", false, 0,
       0},
      {"run context values not text",
       R"({"@name":"Product.CompetitorRemoval.AssessmentEnded","runContext":{"otherData":1,)"
       R"("someData":"s-2"},"products":[]})",
       false, 0, 0},
  };
  for (const Case& c : cases) {
    int64_t result = -1;
    std::vector<CompetitorEntry> entries;
    EXPECT_EQ(ReadAssessmentEvent(c.payload, kContext, result, entries), c.taken) << c.what;
    if (c.taken) {
      EXPECT_EQ(result, c.result) << c.what;
    }
    EXPECT_EQ(entries.size(), c.entries) << c.what;
  }
}

TEST(EventPayloadsTest, AssessmentEntriesKeepOrderAndValues) {
  int64_t result = -1;
  std::vector<CompetitorEntry> entries;
  ASSERT_TRUE(ReadAssessmentEvent(
      Assessment(R"([{"id":"z","productName":"Zed \u00e9","removalSupported":false},)"
                 R"({"id":"a","productName":"","removalSupported":true}])"),
      kContext, result, entries));
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].id, "z");
  EXPECT_EQ(entries[0].productName, "Zed \xc3\xa9");
  EXPECT_FALSE(entries[0].removalSupported);
  EXPECT_EQ(entries[1].id, "a");
  EXPECT_TRUE(entries[1].removalSupported);
}

TEST(EventPayloadsTest, RemovalPayloads) {
  auto removal = [](const std::string& products) {
    return std::string(R"({"@name":"Product.CompetitorRemoval.RemovalEnded",)") + kOurs +
           R"(,"products":)" + products + "}";
  };
  struct Case {
    const char* what;
    std::string payload;
    int64_t result;
    const char* names;  // product names of the entries, "|"-joined
  } cases[] = {
      {"removed and not found",
       removal(R"([{"id":"a","status":"removed","productName":"ignored"},)"
               R"({"id":"b","status":"notFound","productName":"B"}])"),
       0, "|B"},
      {"not found without a name", removal(R"([{"id":"b","status":"notFound"}])"), 3, ""},
      {"other status without a name", removal(R"([{"id":"b","status":"NotFound"}])"), 0, ""},
      {"status missing", removal(R"([{"id":"b"}])"), 3, ""},
      {"id a number", removal(R"([{"id":7,"status":"removed"}])"), 3, ""},
      {"products an object", removal(R"({"id":"b","status":"removed"})"), 3, ""},
  };
  for (const Case& c : cases) {
    int64_t result = -1;
    std::vector<RemovalEntry> entries;
    EXPECT_TRUE(ReadRemovalEvent(c.payload, kContext, result, entries)) << c.what;
    EXPECT_EQ(result, c.result) << c.what;
    std::string names;
    for (size_t i = 0; i < entries.size(); ++i) names += (i ? "|" : "") + entries[i].productName;
    EXPECT_EQ(names, c.names) << c.what;
  }
}

TEST(EventPayloadsTest, DeepNestingIsMalformedNotACrash) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  int64_t result = -1;
  std::vector<CompetitorEntry> entries;
  EXPECT_TRUE(ReadAssessmentEvent(deep, kContext, result, entries));
  EXPECT_EQ(result, 3);
}

}  // namespace
}  // namespace tarn
