#include "sim/oxsdk/scenario.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <string>

#include "sim/oxsdk/plan.h"

namespace tarn::sim {
namespace {

constexpr int64_t kNow = 1700000000;
constexpr char kAssessment[] =
    R"({ "type": "oxsdk", "data":{ "Product.CompetitorRemoval":[ { "@name": "StartAssessment",)"
    R"( "input": { "runContext": { "otherData": "o-1", "someData": "s-2" }, "ids":[ "a", "b" ] } } ] } })";

Scenario MustParse(const std::string& text) {
  Scenario scenario;
  std::string error;
  EXPECT_TRUE(Scenario::Parse(text, &scenario, &error)) << error;
  return scenario;
}

Plan PlanFor(const std::string& scenario_text, const std::string& request) {
  return MakePlan(MustParse(scenario_text), request, "id-1", kNow);
}

TEST(ScenarioTest, RejectsWhatTheFormatDoesNotAllow) {
  struct Case {
    const char* text;
    const char* error;  // expected start of the message
  };
  const Case cases[] = {
      {"{", "not valid JSON at offset 1"},
      {"[]", "scenario: must be a JSON object"},
      {R"({"runs": 0})", "runs: unknown member"},
      {R"({"run": "5"})", "run: must be a 32-bit integer result code"},
      {R"({"getInstance": 4294967296})", "getInstance: must be a 32-bit integer"},
      {R"({"methods": []})", "methods: must be an object"},
      {R"({"methods": {"A.B": {}, "A.B": {}}})", "methods.A.B: given twice"},
      {R"({"methods": {"A.B": {"delay": 5}}})", R"(methods["A.B"].delay: unknown member)"},
      {R"({"methods": {"A.B": {"delayMs": -1}}})",
       R"(methods["A.B"].delayMs: must be milliseconds)"},
      {R"({"methods": {"A.B": {"reply": {}, "noReply": true}}})",
       R"(methods["A.B"]: give only one)"},
      {R"({"methods": {"A.B": {"reply": {}, "rawReply": "x"}}})",
       R"(methods["A.B"]: give only one)"},
      {R"({"methods": {"A.B": {"replyId": 5}}})", R"(methods["A.B"].replyId: must be a string)"},
      {R"({"methods": {"A.B": {"events": [{"payload": {}}]}}})",
       R"(methods["A.B"].events[0].name: must be a string)"},
      {R"({"methods": {"A.B": {"reply": {"output": {"t": "$now-4x"}}}}})",
       R"(methods["A.B"].reply.output.t: unknown template "$now-4x")"},
      {R"({"default": {"events": [{"name": "E", "payload": ["$request..a"]}]}})",
       R"(default.events[0].payload[0]: unknown template)"},
      {R"({"default": {"events": [{"name": "E", "payload": {}, "rawPayload": ""}]}})",
       R"(default.events[0]: give only one)"},
  };
  for (const Case& c : cases) {
    Scenario scenario;
    std::string error;
    EXPECT_FALSE(Scenario::Parse(c.text, &scenario, &error)) << c.text;
    EXPECT_EQ(error.rfind(c.error, 0), 0u) << c.text << " gave: " << error;
  }
}

// An object echoed from the request and the event's "@name" are what the tool reads end to end
// in the competitor tests; these are the templates no end-to-end test uses.
TEST(PlanTest, PayloadTemplatesEchoTheRequestAndTellTimeFromNow) {
  const Plan plan = PlanFor(R"({"default": {"noReply": true, "events": [
      {"name": "E", "payload": {"second": "$request.input.ids.1",
       "absent": "$request.input.nothing", "id": "$requestId", "plain": "$$now", "text": "now",
       "times": ["$now", "$now-4d", "$now+90m", "$now-15s", "$now+2h"]}},
      {"name": "Raw", "rawPayload": "{\"runContext\": \"$request\""},
      {"name": "Named", "payload": {"@name": "Wrong"}},
      {"name": "List", "payload": [1]}]}})",
                            kAssessment);
  ASSERT_EQ(plan.deliveries.size(), 4u);
  rapidjson::Document payload;
  payload.Parse(plan.deliveries[0].text);
  ASSERT_TRUE(payload.IsObject()) << plan.deliveries[0].text;
  EXPECT_STREQ(payload["second"].GetString(), "b");
  EXPECT_TRUE(payload["absent"].IsNull());
  EXPECT_STREQ(payload["id"].GetString(), "id-1");
  EXPECT_STREQ(payload["plain"].GetString(), "$now");
  EXPECT_STREQ(payload["text"].GetString(), "now");
  const int64_t times[] = {kNow, kNow - 4 * 86400, kNow + 90 * 60, kNow - 15, kNow + 7200};
  for (rapidjson::SizeType i = 0; i < 5; ++i) EXPECT_EQ(payload["times"][i].GetInt64(), times[i]);

  EXPECT_EQ(plan.deliveries[1].text, R"({"runContext": "$request")");  // raw text is not expanded
  EXPECT_EQ(plan.deliveries[2].text, R"({"@name":"Wrong"})");
  EXPECT_EQ(plan.deliveries[3].text, "[1]");
}

}  // namespace
}  // namespace tarn::sim
