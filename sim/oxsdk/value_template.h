// Template strings inside scenario values: replies and event payloads can carry times relative
// to the moment of the request and parts of the request itself.
//   "$now", "$now-4d", "$now+90m"  seconds since 1970-01-01 UTC (units s, m, h, d)
//   "$requestId"                   the request id the host passed to Run
//   "$request.input.runContext"    copy of a value of the request's method element (null if absent)
//   "$$text"                       the plain string "$text"
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn::sim {

struct TemplateContext {
  int64_t now_seconds = 0;
  std::string_view request_id;
  const rapidjson::Value* request_element = nullptr;  // {"@name": ..., "input": ...}
};

// A string that starts with "$" must be one of the forms above; others are plain text.
bool IsValidTemplate(std::string_view text);

// Deep copy of `in` with every template string replaced by its value.
rapidjson::Value ExpandTemplates(const rapidjson::Value& in,
                                 rapidjson::Document::AllocatorType& allocator,
                                 const TemplateContext& context);

}  // namespace tarn::sim
