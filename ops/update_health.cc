#include "ops/update_health.h"

#include <algorithm>
#include <ctime>
#include <vector>

#include "base/json.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "ops/product_status.h"

namespace tarn {
namespace {

constexpr double kTwoDaysSeconds = 172800;
constexpr double kDaySeconds = 86400;

int32_t Int32Member(const rapidjson::Value* object, const char* name) {
  const rapidjson::Value* value = object ? Member(*object, name) : nullptr;
  return value != nullptr && value->IsInt() ? value->GetInt() : 0;
}

int64_t Int64Member(const rapidjson::Value* object, const char* name) {
  const rapidjson::Value* value = object ? Member(*object, name) : nullptr;
  return value != nullptr && value->IsInt64() ? value->GetInt64() : 0;
}

// Location name -> the member of the update settings that holds its schedule.
const char* ScheduleMemberFor(const rapidjson::Value& location) {
  const std::string name(location.GetString(), location.GetStringLength());
  return name == "Antivirus" ? "signatureSchedulerSettings" : nullptr;
}

// Day words of a schedule as numbers, Sunday 1 ... Saturday 7; false on an unknown word.
bool DayNumbers(const rapidjson::Value& days, std::vector<int>& numbers) {
  static const char* const kWords[] = {"su", "mo", "tu", "we", "th", "fr", "sa"};
  for (const auto& day : days.GetArray()) {
    if (!day.IsString()) return false;
    const auto word = std::find_if(std::begin(kWords), std::end(kWords), [&](const char* w) {
      return std::string(day.GetString(), day.GetStringLength()) == w;
    });
    if (word == std::end(kWords)) return false;
    numbers.push_back(static_cast<int>(word - std::begin(kWords)) + 1);
  }
  return true;
}

// The longest gap between two scheduled days, at least two days; the week wraps around.
int AllowedIntervalDays(std::vector<int> days) {
  if (days.empty()) return 2;
  std::sort(days.begin(), days.end());
  int interval = std::max(days.front() - days.back() + 7, 2);
  for (size_t i = 1; i < days.size(); ++i) interval = std::max(interval, days[i] - days[i - 1]);
  return interval;
}

enum class Verdict { kNextKey, kNextLocation, kFail };

// The time rules for one location, after its "update" or "check" run passed the error test.
Verdict CheckTimes(const rapidjson::Value& location, const rapidjson::Value& name,
                   const rapidjson::Value* settings, int64_t now, uint32_t& upToDate, Logger* log) {
  const rapidjson::Value* check = ObjectMember(location, "check");
  if (check == nullptr) {
    WriteLog(log, L"Invalid JSON. Could not find \"check\" field");
    return Verdict::kFail;
  }
  const rapidjson::Value* update = ObjectMember(location, "update");
  if (update == nullptr) {
    WriteLog(log, L"Invalid JSON. Could not find \"update\" field");
    return Verdict::kFail;
  }
  const rapidjson::Value* checkTime = Member(*check, "lastSucceededTime");
  if (checkTime == nullptr || !checkTime->IsInt64()) {
    WriteLog(log,
             L"Invalid JSON. Coult not find \"lastSucceededTime\" field from \"check\" member");
    return Verdict::kFail;
  }
  const rapidjson::Value* updateTime = Member(*update, "lastSucceededTime");
  if (updateTime == nullptr || !updateTime->IsInt64()) {
    WriteLog(log,
             L"Invalid JSON. Could not find \"lastSucceededTime\" field from \"update\" member");
    return Verdict::kFail;
  }
  const bool checked = checkTime->GetInt64() != 0;
  const double age =
      static_cast<double>(now) - static_cast<double>(std::max<int64_t>(updateTime->GetInt64(), 0));

  auto twoDayRule = [&](const wchar_t* message) {
    if (!checked || age <= kTwoDaysSeconds) {
      upToDate = 1;
      return Verdict::kNextKey;
    }
    upToDate = 0;
    WriteLog(log, message);
    return Verdict::kNextLocation;
  };
  constexpr const wchar_t* kTooOld =
      L"Last successfull check time is older than two days. Product is not up to date";

  const char* scheduleMember = ScheduleMemberFor(name);
  if (settings == nullptr || scheduleMember == nullptr) return twoDayRule(kTooOld);

  const rapidjson::Value* all = ObjectMember(*settings, "settings");
  if (all == nullptr) {
    WriteLog(log, L"Invalid JSON. Could not find \"settings\" member");
    return Verdict::kFail;
  }
  const rapidjson::Value* schedule = ObjectMember(*all, scheduleMember);
  if (schedule == nullptr) {
    WriteLog(log, L"Invalid JSON. Could not find location settings");
    return Verdict::kFail;
  }
  const rapidjson::Value* enabled = Member(*schedule, "enabled");
  if (enabled == nullptr || !enabled->IsBool()) {
    WriteLog(log, L"Invalid JSON. Could not find \"enabled\" member");
    return Verdict::kFail;
  }
  const rapidjson::Value* weekDays = ObjectMember(*schedule, "weekDays");
  if (weekDays == nullptr) {
    WriteLog(log, L"Invalid JSON. Could not find \"weekDays\" member");
    return Verdict::kFail;
  }
  const rapidjson::Value* days = Member(*weekDays, "days");
  if (days == nullptr) {
    WriteLog(log, L"Invalid JSON. Could not find \"days\" member");
    return Verdict::kFail;
  }
  if (!days->IsNull() && !days->IsArray()) {
    WriteLog(log, L"Invalid JSON. Could not find \"days\" member as array type");
    return Verdict::kFail;
  }
  if (!enabled->GetBool()) return twoDayRule(kTooOld);
  if (days->IsNull()) {
    return twoDayRule(L"Last check is older than two days. Product is not up to date");
  }
  std::vector<int> numbers;
  if (!DayNumbers(*days, numbers)) return Verdict::kFail;
  if (checked && age / kDaySeconds > AllowedIntervalDays(numbers)) {
    upToDate = 0;
    WriteLog(log, L"Last check interval is older than one day. Product is not up to date");
    return Verdict::kNextLocation;
  }
  upToDate = 1;
  return Verdict::kNextKey;
}

}  // namespace

std::string CollectUpdateErrors(const rapidjson::Value& status, Logger* log) {
  std::string payload;
  size_t entries = 0;
  WriteLog(log, L"Checking for \"update\" and \"check\" fields");
  const rapidjson::Value* locations = ObjectMember(status, "Locations");
  if (locations == nullptr) return payload;
  for (const auto& location : locations->GetObject()) {
    int64_t keptTime = 0;
    int32_t keptError = 0;
    for (const char* key : {"update", "check"}) {
      // A location that is not an object trips the JSON library's assertion, by design.
      const auto run = location.value.FindMember(key);
      if (run == location.value.MemberEnd() || !run->value.IsObject()) continue;
      const rapidjson::Value* time = Member(run->value, "time");
      if (time == nullptr || !time->IsInt64()) continue;
      // An error is replaced only by a strictly later run; no error by any later-examined run.
      if (time->GetInt64() <= keptTime && keptError != 0) continue;
      keptTime = time->GetInt64();
      const rapidjson::Value* error = Member(run->value, "error");
      if (error != nullptr && error->IsInt()) keptError = error->GetInt();
    }
    if (keptError != 0) {
      const std::string entry =
          std::string(location.name.GetString(), location.name.GetStringLength()) + "=" +
          std::to_string(keptError);
      AppendEntry(payload, entries, entry);
      WriteLog(log, L"Found an error: " + Utf8ToWide(entry));
    }
  }
  return payload;
}

uint32_t SelectUpdateStatus(const rapidjson::Value& status, const std::string& location,
                            std::string& payload, Logger* log) {
  const rapidjson::Value* locations = ObjectMember(status, "Locations");
  if (locations == nullptr) return 0;
  const rapidjson::Value* entry = ObjectMember(*locations, location);
  if (entry == nullptr) {
    WriteLog(log, L"Bad arguments. Could not find \"Locations\"");
    return kErrorBadArguments;
  }
  const rapidjson::Value* check = ObjectMember(*entry, "check");
  const rapidjson::Value* update = ObjectMember(*entry, "update");
  const int32_t checkError = Int32Member(check, "error");
  const int64_t checkTime = Int64Member(check, "time");
  const int32_t updateError = Int32Member(update, "error");
  const int64_t lastSucceeded = Int64Member(update, "lastSucceededTime");
  const int64_t updateTime = Int64Member(update, "time");

  int32_t selected;
  if (checkError == 0) {
    WriteLog(log, L"Update error found: " + std::to_wstring(updateError));
    selected = updateError;
  } else if (updateError == 0) {
    WriteLog(log, L"Check error found: " + std::to_wstring(checkError));
    selected = checkError;
  } else if (checkTime > updateTime) {
    WriteLog(log, L"Check time is higher than update time. Check error found: " +
                      std::to_wstring(checkError));
    selected = checkError;
  } else {
    WriteLog(log, L"Update time is lower or equal than check time. Update error found: " +
                      std::to_wstring(updateError));
    selected = updateError;
  }
  payload = std::to_string(selected) + "|" + std::to_string(std::max(checkTime, updateTime)) + "|" +
            std::to_string(lastSucceeded);
  return 0;
}

uint32_t DecideUpToDate(const rapidjson::Value& status, const rapidjson::Value* settings,
                        int64_t now, uint32_t& upToDate, Logger* log) {
  const rapidjson::Value* locations = ObjectMember(status, "Locations");
  if (locations == nullptr) {
    WriteLog(log, L"Invalid JSON. Could not find \"Locations\" member");
    return kErrorMalformed;
  }
  for (const auto& location : locations->GetObject()) {
    if (!location.value.IsObject()) continue;
    const rapidjson::Value* available = ObjectMember(location.value, "updateAvailable");
    if (available == nullptr) {
      WriteLog(log, L"Invalid JSON. Could not find \"updateAvailable\" member");
      return kErrorMalformed;
    }
    const rapidjson::Value* state = Member(*available, "status");
    if (state == nullptr || !state->IsString()) {
      WriteLog(log, L"Invalid JSON. Could not find \"status\" member");
      return kErrorMalformed;
    }
    const char* text = state->GetString();
    const size_t length = state->GetStringLength();
    if (EqualsAsciiIgnoreCase(text, length, "yes")) {
      upToDate = 0;
      WriteLog(log,
               L"\"updateAvailable\" has \"status\" member with value \"yes\". Product is not up "
               L"to date");
      break;
    }
    if (EqualsAsciiIgnoreCase(text, length, "no")) {
      upToDate = 1;
      continue;
    }
    if (!EqualsAsciiIgnoreCase(text, length, "n/a")) continue;

    for (const char* key : {"update", "check"}) {
      const rapidjson::Value* run = ObjectMember(location.value, key);
      if (run == nullptr) {
        WriteLog(log, L"Invalid JSON for checking the field");
        return kErrorMalformed;
      }
      const rapidjson::Value* error = Member(*run, "error");
      if (error == nullptr || !error->IsInt64()) {
        WriteLog(log, L"Invalid JSON for checking the \"error\" field");
        return kErrorMalformed;
      }
      upToDate = 1;
      if (error->GetInt64() != 0) {
        upToDate = 0;
        break;
      }
      const Verdict verdict =
          CheckTimes(location.value, location.name, settings, now, upToDate, log);
      if (verdict == Verdict::kFail) return kErrorMalformed;
      if (verdict == Verdict::kNextLocation) break;
    }
  }
  return 0;
}

}  // namespace tarn
