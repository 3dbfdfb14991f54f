#include "agent/event_payloads.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

std::string Event(const char* name, const char* otherData, const std::string& products) {
  return std::string(R"({"@name":")") + name + R"(","runContext":{"otherData":")" + otherData +
         R"(","someData":"s-2"},"products":)" + products + "}";
}

TEST(EventPayloadsTest, TakenResultAndProducts) {
  const char* assessed = kAssessmentEndedEvent;
  const char* removed = kRemovalEndedEvent;
  struct Case {
    const char* what;
    bool removal;
    std::string payload;
    bool taken;
    int64_t result;
    const char* names;  // "|" and the name of each entry read; a removed product goes unnamed
  } cases[] = {
      {"two products", false,
       Event(assessed, "o-1",
             R"([{"id":"a","productName":"A","removalSupported":true},)"
             R"({"id":"b","productName":"B","removalSupported":false,"extra":1}])"),
       true, 0, "|A|B"},
      {"not JSON", false, "{\"@name\":", true, 3, ""},
      {"not an object", false, "[1]", true, 3, ""},
      {"nested too deep for a recursive parser", false,
       std::string(100000, '[') + std::string(100000, ']'), true, 3, ""},
      {"products an object", false, Event(assessed, "o-1", "{}"), true, 3, ""},
      {"removalSupported as text, after a good entry", false,
       Event(assessed, "o-1",
             R"([{"id":"a","productName":"A","removalSupported":true},)"
             R"({"id":"b","productName":"B","removalSupported":"true"}])"),
       true, 3, "|A"},
      {"another event's name inside", false, Event(removed, "o-1", "[]"), true, 0, ""},
      {"another run", false, Event(assessed, "o-", "[]"), false, 0, ""},
      {"no run context", false, R"({"@name":"Product.CompetitorRemoval.AssessmentEnded"})", false,
       0, ""},
      {"removed and not found", true,
       Event(removed, "o-1",
             R"([{"id":"a","status":"removed","productName":"A"},)"
             R"({"id":"b","status":"notFound","productName":"B"}])"),
       true, 0, "||B"},
      {"not found without a name", true,
       Event(removed, "o-1", R"([{"id":"b","status":"notFound"}])"), true, 3, ""},
      {"status missing", true, Event(removed, "o-1", R"([{"id":"b"}])"), true, 3, ""},
  };
  const RunContext context{"o-1", "s-2"};
  for (const Case& c : cases) {
    int64_t result = -1;
    std::vector<CompetitorEntry> competitors;
    std::vector<RemovalEntry> removals;
    const bool taken = c.removal ? ReadRemovalEvent(c.payload, context, result, removals)
                                 : ReadAssessmentEvent(c.payload, context, result, competitors);
    EXPECT_EQ(taken, c.taken) << c.what;
    EXPECT_EQ(result, c.taken ? c.result : -1) << c.what;  // another run's: untouched
    std::string names;
    for (const auto& e : competitors) names += "|" + e.productName;
    for (const auto& e : removals) names += "|" + e.productName;
    EXPECT_EQ(names, c.names) << c.what;
  }
}

}  // namespace
}  // namespace tarn
