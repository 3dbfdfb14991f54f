// Reading the agent's reply: { "response": { "data": { <namespace>: [ { "error", "output" } ] } } }.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// Takes "error" and "output" of element 0 for `methodKey`'s namespace. On success "output" is
// deep-copied into `output` and the agent's "error" goes to `endpointSdkError`. Any malformed
// reply sets `endpointSdkError` to 3; a reply whose "error" or "output" is unusable also makes
// the result 1804 (otherwise the result is 0).
uint32_t ParseSdkReply(const std::string& reply, const std::wstring& methodKey,
                       rapidjson::Document& output, int64_t& endpointSdkError, Logger* log);

}  // namespace tarn
