#include "agent/event_payloads.h"

#include <rapidjson/document.h>

#include <cstring>
#include <new>
#include <string_view>

#include "base/json.h"
#include "base/result_codes.h"

namespace tarn {
namespace {

bool IsString(const rapidjson::Value* value, std::string_view text) {
  return value != nullptr && value->IsString() &&
         std::string_view(value->GetString(), value->GetStringLength()) == text;
}

const rapidjson::Value* StringMember(const rapidjson::Value& object, const char* name) {
  const rapidjson::Value* member = Member(object, name);
  return member != nullptr && member->IsString() ? member : nullptr;
}

std::string Text(const rapidjson::Value& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

bool ReadEntry(const rapidjson::Value& element, CompetitorEntry& entry) {
  const rapidjson::Value* id = StringMember(element, "id");
  const rapidjson::Value* name = StringMember(element, "productName");
  const rapidjson::Value* supported = Member(element, "removalSupported");
  if (id == nullptr || name == nullptr || supported == nullptr || !supported->IsBool()) {
    return false;
  }
  entry.id = Text(*id);
  entry.productName = Text(*name);
  entry.removalSupported = supported->GetBool();
  return true;
}

bool ReadEntry(const rapidjson::Value& element, RemovalEntry& entry) {
  const rapidjson::Value* id = StringMember(element, "id");
  const rapidjson::Value* status = StringMember(element, "status");
  if (id == nullptr || status == nullptr) return false;
  entry.id = Text(*id);
  entry.status = Text(*status);
  if (entry.status == "notFound") {
    const rapidjson::Value* name = StringMember(element, "productName");
    if (name == nullptr) return false;
    entry.productName = Text(*name);
  }
  return true;
}

template <typename Entry>
bool ReadCompetitorEvent(const std::string& payload, const char* awaitedName,
                         const RunContext& context, int64_t& result, std::vector<Entry>& entries) {
  int64_t code = 0;
  try {
    rapidjson::Document event;
    // Iterative: a deeply nested payload must not exhaust the event thread's stack.
    event.Parse<rapidjson::kParseIterativeFlag>(payload.c_str(), payload.size());
    if (event.HasParseError() || !event.IsObject()) {
      code = kErrorMalformed;
    } else if (IsString(Member(event, "@name"), awaitedName)) {
      const rapidjson::Value* runContext = ObjectMember(event, "runContext");
      if (runContext == nullptr || !IsString(Member(*runContext, "otherData"), context.otherData) ||
          !IsString(Member(*runContext, "someData"), context.someData)) {
        return false;
      }
      const rapidjson::Value* products = Member(event, "products");
      if (products == nullptr || !products->IsArray()) {
        code = kErrorMalformed;
      } else {
        for (const rapidjson::Value& element : products->GetArray()) {
          Entry entry;
          if (!ReadEntry(element, entry)) {
            code = kErrorMalformed;
            break;
          }
          entries.push_back(std::move(entry));
        }
      }
    }
  } catch (const std::bad_alloc&) {
    code = kErrorNotEnoughMemory;
  }
  result = code;
  return true;
}

}  // namespace

bool ReadAssessmentEvent(const std::string& payload, const RunContext& context, int64_t& result,
                         std::vector<CompetitorEntry>& entries) {
  return ReadCompetitorEvent(payload, kAssessmentEndedEvent, context, result, entries);
}

bool ReadRemovalEvent(const std::string& payload, const RunContext& context, int64_t& result,
                      std::vector<RemovalEntry>& entries) {
  return ReadCompetitorEvent(payload, kRemovalEndedEvent, context, result, entries);
}

}  // namespace tarn
