// Guarded member lookup in the agent's JSON: a missing member and a parent of the wrong type
// both read as absent, so no lookup ever trips the JSON library's assertions.
#pragma once

#include <rapidjson/document.h>

#include <string>

namespace tarn {

// Member `name` of `value`; null when `value` is not an object or has no such member.
inline const rapidjson::Value* Member(const rapidjson::Value& value, const std::string& name) {
  if (!value.IsObject()) return nullptr;
  const auto found = value.FindMember(rapidjson::StringRef(name.data(), name.size()));
  return found == value.MemberEnd() ? nullptr : &found->value;
}

// Member `name` when it is an object; null otherwise.
inline const rapidjson::Value* ObjectMember(const rapidjson::Value& value,
                                            const std::string& name) {
  const rapidjson::Value* member = Member(value, name);
  return member != nullptr && member->IsObject() ? member : nullptr;
}

}  // namespace tarn
