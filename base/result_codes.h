// Result codes with a fixed meaning across the tool. Windows error codes pass through unchanged.
#pragma once

#include <cstdint>

namespace tarn {

using ResultCodeType = uint32_t;

inline constexpr uint32_t kResultSuccess = 0;
inline constexpr uint32_t kErrorFileNotFound = 2;     // agent not installed, file missing
inline constexpr uint32_t kErrorInvalidJson = 3;      // malformed reply or event
inline constexpr uint32_t kErrorAccessDenied = 5;     // feature editing without authorization
inline constexpr uint32_t kErrorNotEnoughMemory = 8;
inline constexpr uint32_t kResultNotAuthorized = 12;  // refused by the authorization gate
inline constexpr uint32_t kErrorInvalidData = 13;     // expected value or field absent
inline constexpr uint32_t kErrorRequestRefused = 50;  // the SDK did not accept a request
inline constexpr uint32_t kErrorModNotFound = 126;    // SDK library cannot be loaded
inline constexpr uint32_t kResultAgentNotAsked = 30;  // no identity: the agent was not asked
inline constexpr uint32_t kErrorBadArguments = 160;   // bad arguments or unknown command
inline constexpr uint32_t kResultAlreadyInstalled = 183;
inline constexpr uint32_t kErrorSdkInstance = 775;    // instance or callback registration failed
inline constexpr uint32_t kErrorNotValidlySigned = 1403;
inline constexpr uint32_t kErrorTimeout = 1460;
inline constexpr uint32_t kErrorUnsupportedEncoding = 1006;  // configuration file in UTF-32
inline constexpr uint32_t kErrorNoUsableReply = 1804;  // reply without usable "error"/"output"
inline constexpr uint32_t kResultRebootRequired = 3017;
inline constexpr uint32_t kResultUninstallPreset = 16010;

}  // namespace tarn
