#include "ops/update_health.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

rapidjson::Document Parse(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.c_str());
  EXPECT_FALSE(document.HasParseError()) << text;
  return document;
}

TEST(UpdateHealthTest, UpdateErrorsKeepTheDeliberateAsymmetry) {
  struct Case {
    const char* locations;
    const char* payload;
  } cases[] = {
      // A later check clears an update error; an equal or earlier one does not.
      {R"("L":{"update":{"error":5,"time":100},"check":{"error":0,"time":200}})", ""},
      {R"("L":{"update":{"error":5,"time":100},"check":{"error":0,"time":100}})", "L=5"},
      // A zero error is replaced by the check run at any time.
      {R"("L":{"update":{"error":0,"time":300},"check":{"error":7,"time":1}})", "L=7"},
      {R"("L":{"update":{"error":5},"check":{"error":7}})", ""},  // no times, never listed
      // A later run without "error" moves the kept time but keeps the error.
      {R"("L":{"update":{"error":5,"time":1},"check":{"time":9}})", "L=5"},
      {R"("A":{"update":{"error":1,"time":1}},"B":{},"C":{"check":{"error":2,"time":1}})",
       "A=1|C=2"},
  };
  for (const auto& c : cases) {
    const auto status = Parse(std::string(R"({"Locations":{)") + c.locations + "}}");
    EXPECT_EQ(CollectUpdateErrors(status, nullptr), c.payload) << c.locations;
  }
}

TEST(UpdateHealthTest, UpdateStatusSelectsTheErrorThatCounts) {
  struct Case {
    const char* location;
    uint32_t result;
    const char* payload;
  } cases[] = {
      {R"({"update":{"error":3,"time":50,"lastSucceededTime":40}})", 0, "3|50|40"},
      {R"({"update":{"error":3,"time":50},"check":{"error":4,"time":50}})", 0, "3|50|0"},
      {R"({"update":{"error":3,"time":50},"check":{"error":4,"time":51}})", 0, "4|51|0"},
      {R"({"update":{"error":0,"time":60},"check":{"error":4,"time":51}})", 0, "4|60|0"},
      {R"({"check":{"error":0,"time":7}})", 0, "0|7|0"},
      {R"(5)", 160, ""},
  };
  for (const auto& c : cases) {
    const auto status = Parse(std::string(R"({"Locations":{"Antivirus":)") + c.location + "}}");
    std::string payload;
    EXPECT_EQ(SelectUpdateStatus(status, "Antivirus", payload, nullptr), c.result) << c.location;
    EXPECT_EQ(payload, c.payload) << c.location;
  }
  std::string payload;
  const auto status = Parse(R"({"Locations":{"Antivirus":{}}})");
  EXPECT_EQ(SelectUpdateStatus(status, "antivirus", payload, nullptr), 160u);  // exact name
}

constexpr int64_t kNow = 1800000000;

std::string Location(const char* status, int64_t updateAge, int64_t checkTime = 1,
                     int updateError = 0) {
  return std::string(R"({"updateAvailable":{"status":")") + status + R"("},"update":{"error":)" +
         std::to_string(updateError) + R"(,"lastSucceededTime":)" +
         std::to_string(kNow - updateAge) + R"(},"check":{"error":0,"lastSucceededTime":)" +
         std::to_string(checkTime) + "}}";
}

std::string Schedule(const char* days, const char* enabled = "true") {
  return std::string(R"({"settings":{"signatureSchedulerSettings":{"enabled":)") + enabled +
         R"(,"weekDays":{"days":)" + days + "}}}}";
}

TEST(UpdateHealthTest, UpToDateRules) {
  constexpr int64_t kDay = 86400;
  struct Case {
    const char* name;
    std::string locations;
    std::string settings;  // empty: the settings could not be had
    uint32_t result;
    uint32_t upToDate;
  } cases[] = {
      {"status no", R"("A":)" + Location("no", 9 * kDay), "", 0, 1},
      {"status YES stops the walk", R"("A":)" + Location("YES", 0) + R"(,"B":)" + Location("no", 0),
       "", 0, 0},
      {"unknown status leaves the flag", R"("A":)" + Location("maybe", 0), "", 0, 0},
      {"two-day rule, just inside", R"("A":)" + Location("n/a", 2 * kDay), "", 0, 1},
      {"two-day rule, one second over", R"("A":)" + Location("n/a", 2 * kDay + 1), "", 0, 0},
      {"check time 0 never fails a time rule", R"("A":)" + Location("n/a", 30 * kDay, 0), "", 0, 1},
      {"update error", R"("A":)" + Location("n/a", 0, 1, 4), "", 0, 0},
      {"last verdict wins", R"("A":)" + Location("n/a", 3 * kDay) + R"(,"B":)" + Location("no", 0),
       "", 0, 1},
      {"mo and th allow four days", R"("Antivirus":)" + Location("n/a", 4 * kDay),
       Schedule(R"(["mo","th"])"), 0, 1},
      {"mo and th, one second more", R"("Antivirus":)" + Location("n/a", 4 * kDay + 1),
       Schedule(R"(["th","mo"])"), 0, 0},
      {"one day a week allows seven", R"("Antivirus":)" + Location("n/a", 7 * kDay),
       Schedule(R"(["we"])"), 0, 1},
      {"empty days allow two", R"("Antivirus":)" + Location("n/a", 2 * kDay + 1), Schedule("[]"), 0,
       0},
      {"disabled schedule uses two days", R"("Antivirus":)" + Location("n/a", 3 * kDay),
       Schedule(R"(["mo"])", "false"), 0, 0},
      {"null days use two days", R"("Antivirus":)" + Location("n/a", 2 * kDay + 1),
       Schedule("null"), 0, 0},
      {"other locations use two days", R"("Product":)" + Location("n/a", 3 * kDay),
       Schedule(R"(["mo"])"), 0, 0},
      {"capitalised day word", R"("Antivirus":)" + Location("n/a", 0), Schedule(R"(["Mo"])"), 3, 0},
      {"days of the wrong type", R"("Antivirus":)" + Location("n/a", 0), Schedule(R"("mo")"), 3, 0},
      {"settings without schedule", R"("Antivirus":)" + Location("n/a", 0), R"({"settings":{}})", 3,
       0},
      {"no updateAvailable", R"("A":{"update":{}})", "", 3, 0},
      {"status not a string", R"("A":{"updateAvailable":{"status":1}})", "", 3, 0},
      {"n/a without check", R"("A":{"updateAvailable":{"status":"n/a"},"update":{"error":0}})", "",
       3, 0},
      {"location not an object is skipped", R"("A":3,"B":)" + Location("no", 0), "", 0, 1},
  };
  for (const auto& c : cases) {
    const auto status = Parse(R"({"Locations":{)" + c.locations + "}}");
    rapidjson::Document settings;
    if (!c.settings.empty()) settings = Parse(c.settings);
    uint32_t upToDate = 0;
    EXPECT_EQ(
        DecideUpToDate(status, c.settings.empty() ? nullptr : &settings, kNow, upToDate, nullptr),
        c.result)
        << c.name;
    if (c.result == 0) {  // a failure prints nothing, so its flag does not matter
      EXPECT_EQ(upToDate, c.upToDate) << c.name;
    }
  }
  uint32_t upToDate = 0;
  EXPECT_EQ(DecideUpToDate(Parse("{}"), nullptr, kNow, upToDate, nullptr), 3u);
}

}  // namespace
}  // namespace tarn
