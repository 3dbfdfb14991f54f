#include "ops/product_status.h"

#include <cstring>

#include "base/json.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

std::string Text(const rapidjson::Value& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

std::wstring Wide(const std::string& text) { return Utf8ToWide(text); }

}  // namespace

uint32_t WalkStatusOutput(const rapidjson::Value& status, StatusWalk walk, std::string& payload,
                          const wchar_t* closing, Logger* log) {
  uint32_t code = 0;
  try {
    payload = walk(status, log);
  } catch (...) {
    WriteLog(log, L"Invalid JSON");
    payload.clear();
    code = kErrorMalformed;
  }
  return LogFailure(log, closing, code);
}

void AppendEntry(std::string& list, size_t& count, const std::string& entry) {
  if (count++ != 0) list += '|';
  list += entry;
}

bool EqualsAsciiIgnoreCase(const char* a, size_t aLength, const char* b) {
  if (aLength != std::strlen(b)) return false;
  for (size_t i = 0; i < aLength; ++i) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

std::string CollectCriticalIssues(const rapidjson::Value& output, Logger* log) {
  std::string payload;
  size_t entries = 0;
  const rapidjson::Value* alerts = ObjectMember(output, "Alerts");
  if (alerts == nullptr) return payload;
  for (const auto& alert : alerts->GetObject()) {
    const rapidjson::Value* severity = Member(alert.value, "severity");
    if (severity == nullptr || !severity->IsString()) continue;
    if (!EqualsAsciiIgnoreCase(severity->GetString(), severity->GetStringLength(), "critical")) {
      continue;
    }
    const std::string name = Text(alert.name);
    AppendEntry(payload, entries, name);
    WriteLog(log, L"Critical issue found: " + Wide(name));
  }
  return payload;
}

std::string CollectUpdateLocations(const rapidjson::Value& output, Logger* log) {
  std::string payload;
  size_t entries = 0;
  const rapidjson::Value* locations = ObjectMember(output, "Locations");
  if (locations == nullptr) return payload;
  for (const auto& location : locations->GetObject()) {
    const std::string name = Text(location.name);
    AppendEntry(payload, entries, name);
    WriteLog(log, L"Location found: " + Wide(name));
  }
  return payload;
}

std::string FindProductVersion(const rapidjson::Value& output, Logger* log) {
  const rapidjson::Value* locations = ObjectMember(output, "Locations");
  const rapidjson::Value* product = locations ? ObjectMember(*locations, "Product") : nullptr;
  const rapidjson::Value* version = product ? Member(*product, "Version") : nullptr;
  if (version == nullptr || !version->IsString()) return {};
  const std::string text = Text(*version);
  WriteLog(log, L"Found product version: " + Wide(text));
  return text;
}

std::string FindLastUpdateTime(const rapidjson::Value& output, Logger* log) {
  const rapidjson::Value* time = Member(output, "LastUpdateTime");
  if (time == nullptr || !time->IsInt64()) return {};
  const std::string text = std::to_string(time->GetInt64());
  WriteLog(log, L"Last update time found with value: " + Wide(text));
  return text;
}

std::string CollectFeatureStatus(const rapidjson::Value& output, Logger* log) {
  std::string payload;
  size_t entries = 0;
  const rapidjson::Value* features = Member(output, "Features");
  if (features == nullptr || !features->IsArray()) return payload;
  for (const auto& feature : features->GetArray()) {
    const rapidjson::Value* id = Member(feature, "id");
    if (id == nullptr || !id->IsString()) continue;
    const std::string name = Text(*id);
    AppendEntry(payload, entries, name + "=");
    char flag;
    if (const rapidjson::Value* functioning = Member(feature, "isFunctioning")) {
      flag = functioning->IsBool() && functioning->GetBool() ? '1' : '0';
      WriteLog(log, L"Feature with id= " + Wide(name) + L" is functioning: " + wchar_t(flag));
    } else {
      const rapidjson::Value* enabled = Member(feature, "enabled");
      flag = enabled != nullptr && enabled->IsBool() && enabled->GetBool() ? '1' : '0';
      if (flag == '0') WriteLog(log, L"Feature " + Wide(name) + L" is not enabled");
    }
    payload += flag;
  }
  return payload;
}

}  // namespace tarn
