#include "sim/oxsdk/scenario.h"

#include <rapidjson/error/en.h>

#include <initializer_list>
#include <set>

#include "sim/oxsdk/sdk_contract.h"
#include "sim/oxsdk/value_template.h"

namespace tarn::sim {
namespace {

using rapidjson::Value;

// Walks a parsed scenario and stops at the first member that is not as README.md describes,
// so that a typo fails loudly instead of silently falling back to a default.
class Checker {
 public:
  bool Root(const Value& root) {
    if (!root.IsObject()) return Fail("scenario", "must be a JSON object");
    if (!Members(
            root, "",
            {"comment", "getInstance", "register", "unregister", "run", "methods", "default"}) ||
        !Codes(root, "", {"getInstance", "register", "unregister", "run"})) {
      return false;
    }
    if (root.HasMember("default") && !Entry(root["default"], "default")) return false;
    if (!root.HasMember("methods")) return true;
    const Value& methods = root["methods"];
    if (!methods.IsObject()) return Fail("methods", "must be an object keyed by method");
    if (!Members(methods, "methods", {})) return false;
    for (const auto& method : methods.GetObject()) {
      const std::string name(method.name.GetString(), method.name.GetStringLength());
      if (!Entry(method.value, "methods[\"" + name + "\"]")) return false;
    }
    return true;
  }

  const std::string& error() const { return error_; }

 private:
  bool Fail(const std::string& path, const std::string& what) {
    error_ = path + ": " + what;
    return false;
  }

  static std::string Join(const std::string& path, const std::string& member) {
    return path.empty() ? member : path + "." + member;
  }

  // Every member is one of `allowed` (any name when the list is empty), none twice.
  bool Members(const Value& object, const std::string& path,
               std::initializer_list<std::string_view> allowed) {
    std::set<std::string> seen;
    for (const auto& member : object.GetObject()) {
      const std::string name(member.name.GetString(), member.name.GetStringLength());
      if (!seen.insert(name).second) return Fail(Join(path, name), "given twice");
      bool known = allowed.size() == 0;
      for (std::string_view word : allowed) known = known || word == name;
      if (!known) return Fail(Join(path, name), "unknown member");
    }
    return true;
  }

  bool Codes(const Value& object, const std::string& path,
             std::initializer_list<const char*> names) {
    for (const char* name : names) {
      int32_t code = 0;
      if (object.HasMember(name) && !ReadResultCode(object[name], &code)) {
        return Fail(Join(path, name), "must be a 32-bit integer result code");
      }
    }
    return true;
  }

  bool Delay(const Value& object, const std::string& path) {
    if (object.HasMember("delayMs") &&
        !(object["delayMs"].IsInt() && object["delayMs"].GetInt() >= 0)) {
      return Fail(Join(path, "delayMs"), "must be milliseconds from 0 to 2147483647");
    }
    return true;
  }

  bool Templates(const Value& value, const std::string& path) {
    if (value.IsObject()) {
      for (const auto& member : value.GetObject()) {
        if (!Templates(member.value, Join(path, member.name.GetString()))) return false;
      }
    } else if (value.IsArray()) {
      for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
        if (!Templates(value[i], path + "[" + std::to_string(i) + "]")) return false;
      }
    } else if (value.IsString() && !IsValidTemplate(value.GetString())) {
      return Fail(path, "unknown template \"" + std::string(value.GetString()) +
                            "\" (write \"$$\" for a plain leading \"$\")");
    }
    return true;
  }

  bool Entry(const Value& entry, const std::string& path) {
    if (!entry.IsObject()) return Fail(path, "must be an object");
    if (!Members(entry, path,
                 {"comment", "run", "unregister", "reply", "rawReply", "noReply", "delayMs",
                  "replyId", "events"}) ||
        !Codes(entry, path, {"run", "unregister"}) || !Delay(entry, path)) {
      return false;
    }
    const bool no_reply = entry.HasMember("noReply") && entry["noReply"].IsTrue();
    if (entry.HasMember("noReply") && !entry["noReply"].IsBool()) {
      return Fail(Join(path, "noReply"), "must be true or false");
    }
    if (entry.HasMember("reply") + entry.HasMember("rawReply") + no_reply > 1) {
      return Fail(path, "give only one of \"reply\", \"rawReply\" and \"noReply\": true");
    }
    if (entry.HasMember("reply")) {
      if (!entry["reply"].IsObject()) return Fail(Join(path, "reply"), "must be an object");
      if (!Templates(entry["reply"], Join(path, "reply"))) return false;
    }
    if (entry.HasMember("rawReply") && !entry["rawReply"].IsString()) {
      return Fail(Join(path, "rawReply"), "must be a string");
    }
    if (entry.HasMember("replyId") && !entry["replyId"].IsString() && !entry["replyId"].IsNull()) {
      return Fail(Join(path, "replyId"), "must be a string or null");
    }
    if (!entry.HasMember("events")) return true;
    const Value& events = entry["events"];
    if (!events.IsArray()) return Fail(Join(path, "events"), "must be an array");
    for (rapidjson::SizeType i = 0; i < events.Size(); ++i) {
      if (!Event(events[i], Join(path, "events") + "[" + std::to_string(i) + "]")) return false;
    }
    return true;
  }

  bool Event(const Value& event, const std::string& path) {
    if (!event.IsObject()) return Fail(path, "must be an object");
    if (!Members(event, path, {"comment", "name", "payload", "rawPayload", "delayMs"}) ||
        !Delay(event, path)) {
      return false;
    }
    if (!event.HasMember("name") || !event["name"].IsString()) {
      return Fail(Join(path, "name"), "must be a string");
    }
    if (event.HasMember("payload") && event.HasMember("rawPayload")) {
      return Fail(path, "give only one of \"payload\" and \"rawPayload\"");
    }
    if (event.HasMember("rawPayload") && !event["rawPayload"].IsString()) {
      return Fail(Join(path, "rawPayload"), "must be a string");
    }
    return !event.HasMember("payload") || Templates(event["payload"], Join(path, "payload"));
  }

  std::string error_;
};

int32_t CodeOr(const Value& object, const char* name) {
  int32_t code = 0;
  if (object.HasMember(name)) ReadResultCode(object[name], &code);
  return code;
}

}  // namespace

bool ReadResultCode(const Value& value, int32_t* code) {
  if (value.IsInt()) {
    *code = value.GetInt();
  } else if (value.IsUint()) {
    *code = static_cast<int32_t>(value.GetUint());
  } else {
    return false;
  }
  return true;
}

bool Scenario::Parse(std::string_view text, Scenario* out, std::string* error) {
  auto document = std::make_unique<rapidjson::Document>();
  document->Parse(text.data(), text.size());
  if (document->HasParseError()) {
    *error = std::string("not valid JSON at offset ") + std::to_string(document->GetErrorOffset()) +
             ": " + rapidjson::GetParseError_En(document->GetParseError());
    return false;
  }
  Checker checker;
  if (!checker.Root(*document)) {
    *error = checker.error();
    return false;
  }
  if (!document->HasMember("default")) {
    Value reply(rapidjson::kObjectType);
    reply.AddMember("error", kSimUnknownMethodError, document->GetAllocator());
    reply.AddMember("output", Value(rapidjson::kObjectType), document->GetAllocator());
    Value entry(rapidjson::kObjectType);
    entry.AddMember("reply", reply, document->GetAllocator());
    document->AddMember("default", entry, document->GetAllocator());
  }
  out->get_instance_ = CodeOr(*document, "getInstance");
  out->register_ = CodeOr(*document, "register");
  out->unregister_ = CodeOr(*document, "unregister");
  out->run_ = CodeOr(*document, "run");
  out->document_ = std::move(document);
  return true;
}

const Value& Scenario::EntryFor(std::string_view method) const {
  const Value& root = *document_;
  if (root.HasMember("methods")) {
    const Value& methods = root["methods"];
    auto found = methods.FindMember(Value(rapidjson::StringRef(method.data(), method.size())));
    if (found != methods.MemberEnd()) return found->value;
  }
  return root["default"];
}

}  // namespace tarn::sim
