#include "sim/oxsdk/plan.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>

#include "sim/oxsdk/sdk_contract.h"
#include "sim/oxsdk/value_template.h"

namespace tarn::sim {
namespace {

using rapidjson::Value;

struct Request {
  rapidjson::Document document;
  std::string name_space;  // N, the member of "data"
  std::string name;        // M, the "@name" of its first element
  const Value* element = nullptr;
};

bool ReadRequest(std::string_view text, Request* request) {
  request->document.Parse(text.data(), text.size());
  if (request->document.HasParseError() || !request->document.IsObject()) return false;
  auto data = request->document.FindMember("data");
  if (data == request->document.MemberEnd() || !data->value.IsObject()) return false;
  for (const auto& member : data->value.GetObject()) {
    if (!member.value.IsArray() || member.value.Empty()) continue;
    const Value& element = member.value[0];
    if (!element.IsObject() || !element.HasMember("@name") || !element["@name"].IsString()) {
      continue;
    }
    request->name_space.assign(member.name.GetString(), member.name.GetStringLength());
    request->name.assign(element["@name"].GetString(), element["@name"].GetStringLength());
    request->element = &element;
    return true;
  }
  return false;
}

std::string Serialize(const Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

// {"@name": M, <the entry's "reply" members>} with "error" 0 and "output" {} where the scenario
// leaves them out, wrapped as {"response": {"data": {N: [ ... ]}}}.
std::string ReplyText(const Request& request, const Value& entry, const TemplateContext& context) {
  rapidjson::Document document(rapidjson::kObjectType);
  auto& allocator = document.GetAllocator();
  Value reply = entry.HasMember("reply") ? ExpandTemplates(entry["reply"], allocator, context)
                                         : Value(rapidjson::kObjectType);
  Value element(rapidjson::kObjectType);
  if (!reply.HasMember("@name")) {
    element.AddMember("@name", Value(request.name, allocator), allocator);
  }
  for (auto& member : reply.GetObject()) element.AddMember(member.name, member.value, allocator);
  if (!element.HasMember("error")) element.AddMember("error", 0, allocator);
  if (!element.HasMember("output")) {
    element.AddMember("output", Value(rapidjson::kObjectType), allocator);
  }

  Value array(rapidjson::kArrayType);
  array.PushBack(element, allocator);
  Value data(rapidjson::kObjectType);
  data.AddMember(Value(request.name_space, allocator), array, allocator);
  Value response(rapidjson::kObjectType);
  response.AddMember("data", data, allocator);
  document.AddMember("response", response, allocator);
  return Serialize(document);
}

// An object payload names its event in "@name" unless the scenario wrote a "@name" itself.
std::string PayloadText(const Value& event, const TemplateContext& context) {
  if (event.HasMember("rawPayload")) return event["rawPayload"].GetString();
  rapidjson::Document document;
  auto& allocator = document.GetAllocator();
  Value payload = event.HasMember("payload") ? ExpandTemplates(event["payload"], allocator, context)
                                             : Value(rapidjson::kObjectType);
  if (!payload.IsObject() || payload.HasMember("@name")) return Serialize(payload);
  Value named(rapidjson::kObjectType);
  named.AddMember("@name", Value(event["name"], allocator), allocator);
  for (auto& member : payload.GetObject()) named.AddMember(member.name, member.value, allocator);
  return Serialize(named);
}

int64_t DelayOf(const Value& object) {
  return object.HasMember("delayMs") ? object["delayMs"].GetInt64() : 0;
}

}  // namespace

Plan MakePlan(const Scenario& scenario, std::string_view request_text, std::string_view request_id,
              int64_t now_seconds) {
  Plan plan;
  Request request;
  if (!ReadRequest(request_text, &request)) {
    plan.run_result = kSimInvalidParameter;
    return plan;
  }
  plan.method = request.name_space + "." + request.name;
  const Value& entry = scenario.EntryFor(plan.method);
  plan.run_result = scenario.run_result();
  if (entry.HasMember("run")) ReadResultCode(entry["run"], &plan.run_result);
  if (entry.HasMember("unregister")) {
    plan.unregister_result.emplace();
    ReadResultCode(entry["unregister"], &*plan.unregister_result);
  }
  if (plan.run_result != kSimOk) return plan;  // a refused request is never answered

  const TemplateContext context{now_seconds, request_id, request.element};
  if (!(entry.HasMember("noReply") && entry["noReply"].IsTrue())) {
    Delivery reply;
    reply.delay_ms = DelayOf(entry);
    reply.request_id = std::string(request_id);
    if (entry.HasMember("replyId")) {
      const Value& id = entry["replyId"];
      reply.request_id = id.IsNull() ? std::nullopt : std::optional<std::string>(id.GetString());
    }
    reply.text = entry.HasMember("rawReply") ? entry["rawReply"].GetString()
                                             : ReplyText(request, entry, context);
    plan.deliveries.push_back(std::move(reply));
  }
  if (entry.HasMember("events")) {
    for (const auto& written : entry["events"].GetArray()) {
      Delivery event;
      event.kind = Delivery::Kind::kEvent;
      event.delay_ms = DelayOf(written);
      event.request_id = std::string(request_id);
      event.name = written["name"].GetString();
      event.text = PayloadText(written, context);
      plan.deliveries.push_back(std::move(event));
    }
  }
  // Equal delays keep the written order, the reply first.
  std::stable_sort(plan.deliveries.begin(), plan.deliveries.end(),
                   [](const Delivery& a, const Delivery& b) { return a.delay_ms < b.delay_ms; });
  return plan;
}

}  // namespace tarn::sim
