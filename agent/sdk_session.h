// The one way to send a JSON request to the agent: find its directory from the security
// service, prove its SDK library is the maker's, load it, exchange one request and reply, unload.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// Proves that the module at `path` is the maker's before it is loaded; `isValid` must be true as
// well for the module to be used.
/// 0 with the verdict in `isValid`, or the check's code with `isValid` false.
using ModuleCheck = uint32_t (*)(bool& isValid, const std::wstring& path, Logger* log);

// The check every session runs on the SDK library, handed over once at start-up (the signature
// validation belongs to a layer this one may not include). Without one, no library is loaded.
void UseModuleCheck(ModuleCheck check);

// The session. `apiError` gets the last SDK call's result and `endpointSdkError` the agent's
// "error" (3 for a malformed reply, or the product wait's result). An empty `explicitRequest`
// sends the method's template.
/// Its own result: 0, the failing step's Win32 code, 1403, 775, 160, 50, 1460 or 1804; `reply`
/// is filled only when the agent's reply was usable.
[[nodiscard]] uint32_t ExecuteSdkMethod(rapidjson::Document& reply, int32_t& apiError,
                                        int64_t& endpointSdkError, const std::wstring& methodKey,
                                        const std::wstring& explicitRequest,
                                        const std::wstring& commandName, Logger* log);

// The wrapper most operations use.
/// One code: the agent's error first, then the SDK call's, then the session's; `reply` as above.
[[nodiscard]] uint32_t RunSdkMethod(rapidjson::Document& reply, const std::wstring& methodKey,
                                    const std::wstring& explicitRequest,
                                    const std::wstring& commandName, Logger* log);

}  // namespace tarn
