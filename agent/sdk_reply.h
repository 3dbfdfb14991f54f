// Reading the agent's reply: {"response": {"data": {<namespace>: [{"error", "output"}]}}}.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// Takes "error" and "output" of element 0 for `methodKey`'s namespace. On success "output" becomes
// the root of `output` and the agent's "error" goes to `endpointSdkError`.
/// 0, or 1804 for an unusable "error" or "output"; any malformed reply sets `endpointSdkError` to
/// 3 and leaves `output` alone.
[[nodiscard]] uint32_t ParseSdkReply(const std::string& reply, const std::wstring& methodKey,
                                     rapidjson::Document& output, int64_t& endpointSdkError,
                                     Logger* log);

}  // namespace tarn
