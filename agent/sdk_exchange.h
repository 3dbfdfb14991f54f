// One request/reply exchange with a loaded SDK instance: register the callbacks, send the
// request under a fresh request id, wait, parse, unregister. Loading and unloading the library
// are the session's (sdk_session_win.cc); this part is platform-free so that it runs natively,
// under TSan, against a fake instance.
#pragma once

#include <rapidjson/document.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "agent/sdk_interface.h"

namespace tarn {

class Logger;

/// Makes a fresh request id: 0, or the system's error code with `requestId` untouched.
using RequestIdMaker = std::function<uint32_t(std::string& requestId)>;

struct SdkExchange {
  const std::wstring& methodKey;
  const std::wstring& explicitRequest;  // empty: the method's template
  const std::wstring& commandName;      // chooses the reply wait
  RequestIdMaker makeRequestId;
  // Replace the per-command reply and product waits when set (tests use short waits).
  std::chrono::milliseconds replyTimeout{-1};
  std::chrono::milliseconds productTimeout{-1};
};

// Runs the exchange on `instance`. `apiError` receives the last SDK call's result,
// `endpointSdkError` the agent's "error" (3 for a malformed reply). `completed` is set when the
// call ran to its regular end, after which the session logs its closing line.
/// The session result: 0, 775, 160, the id maker's code, 50, 1460 or 1804; `reply` is filled on
/// 0 only.
[[nodiscard]] uint32_t RunSdkExchange(SdkInstance& instance, const SdkExchange& exchange,
                                      rapidjson::Document& reply, int32_t& apiError,
                                      int64_t& endpointSdkError, bool& completed, Logger* log);

}  // namespace tarn
