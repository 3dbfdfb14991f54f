// What the stand-in does with one request: the result of Run and the replies and events to
// send afterwards, worked out from the scenario when the request arrives.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/oxsdk/scenario.h"

namespace tarn::sim {

struct Delivery {
  enum class Kind { kReply, kEvent };
  Kind kind = Kind::kReply;
  int64_t delay_ms = 0;  // counted from the arrival of the request
  // Reply: the id it is sent under (nullopt: a null pointer). Event: the request's id.
  std::optional<std::string> request_id;
  std::string name;  // event name
  std::string text;  // reply text or event payload, sent byte for byte
};

struct Plan {
  std::string method;  // "Namespace.Name"; empty when the request text could not be read
  int32_t run_result = 0;
  std::optional<int32_t> unregister_result;  // the entry's own "unregister", if it has one
  std::vector<Delivery> deliveries;          // in the order they fall due
};

// A request {"data": {N: [{"@name": M, ...}]}} is answered by the scenario's entry for "N.M".
// A text of another shape is refused: Run returns kSimInvalidParameter and nothing is sent.
Plan MakePlan(const Scenario& scenario, std::string_view request, std::string_view request_id,
              int64_t now_seconds);

}  // namespace tarn::sim
