// The one way to send a JSON request to the agent: find its directory from the security
// service, prove its SDK library is the maker's, load it, exchange one request and reply, unload.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// The session. Returns its own result; `apiError` gets the last SDK call's result and
// `endpointSdkError` the agent's "error" (3 for a malformed reply, or the product wait's result).
// An empty `explicitRequest` sends the method's template.
uint32_t ExecuteSdkMethod(rapidjson::Document& reply, int32_t& apiError, int64_t& endpointSdkError,
                          const std::wstring& methodKey, const std::wstring& explicitRequest,
                          const std::wstring& commandName, Logger* log);

// The wrapper most operations use: one code, the agent's error first, then the SDK call's, then
// the session's.
uint32_t RunSdkMethod(rapidjson::Document& reply, const std::wstring& methodKey,
                      const std::wstring& explicitRequest, const std::wstring& commandName,
                      Logger* log);

}  // namespace tarn
