#include "sim/oxsdk/journal_line.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>

namespace tarn::sim {

using rapidjson::Value;

JournalLine::JournalLine(std::string_view kind) : fields_(rapidjson::kObjectType) {
  Add("kind", kind);
}

JournalLine& JournalLine::Add(const char* key, std::string_view value) {
  auto& allocator = fields_.GetAllocator();
  fields_.AddMember(Value(key, allocator), Value(value.data(), value.size(), allocator), allocator);
  return *this;
}

JournalLine& JournalLine::AddOrNull(const char* key, const std::optional<std::string>& value) {
  if (value) return Add(key, std::string_view(*value));
  fields_.AddMember(Value(key, fields_.GetAllocator()), Value(), fields_.GetAllocator());
  return *this;
}

JournalLine& JournalLine::Add(const char* key, int64_t value) {
  fields_.AddMember(Value(key, fields_.GetAllocator()), Value(value), fields_.GetAllocator());
  return *this;
}

JournalLine& JournalLine::AddBool(const char* key, bool value) {
  fields_.AddMember(Value(key, fields_.GetAllocator()), Value(value), fields_.GetAllocator());
  return *this;
}

std::string JournalLine::Text(int64_t unix_ms, uint32_t pid) const {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartObject();
  writer.Key("time");
  writer.String(UtcTimeText(unix_ms));
  writer.Key("pid");
  writer.Uint(pid);
  for (const auto& member : fields_.GetObject()) {
    writer.Key(member.name.GetString(), member.name.GetStringLength());
    member.value.Accept(writer);
  }
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

std::string UtcTimeText(int64_t unix_ms) {
  // Civil date from a day count (the proleptic Gregorian calendar), free of the C library's
  // non-reentrant gmtime.
  int64_t days = unix_ms / 86400000;
  int64_t ms_of_day = unix_ms % 86400000;
  if (ms_of_day < 0) {
    ms_of_day += 86400000;
    --days;
  }
  const int64_t z = days + 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t day_of_era = z - era * 146097;
  const int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t mp = (5 * day_of_year + 2) / 153;
  const int64_t day = day_of_year - (153 * mp + 2) / 5 + 1;
  const int64_t month = mp < 10 ? mp + 3 : mp - 9;
  const int64_t year = year_of_era + era * 400 + (month <= 2);
  char text[128];  // room for any int64 fields, as the compiler checks
  std::snprintf(
      text, sizeof(text), "%04lld-%02lld-%02lldT%02lld:%02lld:%02lld.%03lldZ",
      static_cast<long long>(year), static_cast<long long>(month), static_cast<long long>(day),
      static_cast<long long>(ms_of_day / 3600000), static_cast<long long>(ms_of_day / 60000 % 60),
      static_cast<long long>(ms_of_day / 1000 % 60), static_cast<long long>(ms_of_day % 1000));
  return text;
}

}  // namespace tarn::sim
