#include "sim/oxsdk/value_template.h"

#include <optional>

namespace tarn::sim {
namespace {

using rapidjson::Value;

constexpr std::string_view kNow = "$now";
constexpr std::string_view kRequestId = "$requestId";
constexpr std::string_view kRequest = "$request";

// "" is now; otherwise a sign, 1 to 9 digits and a unit. Returns the offset in seconds.
std::optional<int64_t> ParseOffset(std::string_view text) {
  if (text.empty()) return 0;
  if (text.size() < 3 || text.size() > 11 || (text[0] != '+' && text[0] != '-')) return {};
  int64_t amount = 0;
  for (char c : text.substr(1, text.size() - 2)) {
    if (c < '0' || c > '9') return {};
    amount = amount * 10 + (c - '0');
  }
  constexpr std::string_view kUnits = "smhd";
  constexpr int64_t kUnitSeconds[] = {1, 60, 3600, 86400};
  const size_t unit = kUnits.find(text.back());
  if (unit == std::string_view::npos) return {};
  return (text[0] == '-' ? -amount : amount) * kUnitSeconds[unit];
}

bool IsValidPath(std::string_view path) {  // "" or ".a.b.0"
  if (path.empty()) return true;
  if (path[0] != '.') return false;
  for (size_t start = 1;;) {
    size_t end = path.find('.', start);
    if (end == start || start == path.size()) return false;  // empty segment
    if (end == std::string_view::npos) return true;
    start = end + 1;
  }
}

const Value* Lookup(const Value* value, std::string_view path) {
  while (value != nullptr && !path.empty()) {
    path.remove_prefix(1);  // the dot
    const std::string_view segment = path.substr(0, path.find('.'));
    path.remove_prefix(segment.size());
    if (value->IsObject()) {
      auto member = value->FindMember(Value(rapidjson::StringRef(segment.data(), segment.size())));
      value = member == value->MemberEnd() ? nullptr : &member->value;
    } else if (value->IsArray() && segment.find_first_not_of("0123456789") == std::string::npos &&
               segment.size() < 9) {
      const size_t index = std::stoul(std::string(segment));
      value = index < value->Size() ? &(*value)[static_cast<rapidjson::SizeType>(index)] : nullptr;
    } else {
      value = nullptr;
    }
  }
  return value;
}

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

}  // namespace

bool IsValidTemplate(std::string_view text) {
  if (!StartsWith(text, "$") || StartsWith(text, "$$")) return true;
  if (text == kRequestId) return true;
  if (StartsWith(text, kNow)) return ParseOffset(text.substr(kNow.size())).has_value();
  if (StartsWith(text, kRequest)) return IsValidPath(text.substr(kRequest.size()));
  return false;
}

Value ExpandTemplates(const Value& in, rapidjson::Document::AllocatorType& allocator,
                      const TemplateContext& context) {
  if (in.IsObject()) {
    Value out(rapidjson::kObjectType);
    for (const auto& member : in.GetObject()) {
      out.AddMember(Value(member.name, allocator),
                    ExpandTemplates(member.value, allocator, context), allocator);
    }
    return out;
  }
  if (in.IsArray()) {
    Value out(rapidjson::kArrayType);
    for (const auto& element : in.GetArray()) {
      out.PushBack(ExpandTemplates(element, allocator, context), allocator);
    }
    return out;
  }
  if (!in.IsString()) return Value(in, allocator);

  const std::string_view text(in.GetString(), in.GetStringLength());
  if (!StartsWith(text, "$")) return Value(in, allocator);
  if (StartsWith(text, "$$")) return Value(text.data() + 1, text.size() - 1, allocator);
  if (text == kRequestId) {
    return Value(context.request_id.data(), context.request_id.size(), allocator);
  }
  if (StartsWith(text, kNow)) {
    const auto offset = ParseOffset(text.substr(kNow.size()));
    if (offset) return Value(static_cast<int64_t>(context.now_seconds + *offset));
  } else if (StartsWith(text, kRequest) && IsValidPath(text.substr(kRequest.size()))) {
    const Value* found = Lookup(context.request_element, text.substr(kRequest.size()));
    return found ? Value(*found, allocator) : Value(rapidjson::kNullType);
  }
  return Value(in, allocator);  // not a template after all; the scenario check rejects these
}

}  // namespace tarn::sim
