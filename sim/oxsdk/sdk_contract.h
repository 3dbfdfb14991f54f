// The binary contract of the agent's SDK library "oxsdk.dll", as the stand-in implements it.
// Written from the contract alone, not from the tool's own declarations, so that a layout
// mistake on either side shows up in the end-to-end tests.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn::sim {

// Both callbacks get the registration record's own address as their context (see README.md).
using EventCallback = void (*)(void* context, const char* name, const char* payload);
using ReplyCallback = void (*)(void* context, const char* request_id, const void* unused,
                               const char* reply);

// Handed to RegisterNotifications; the host keeps it alive until UnregisterNotifications.
struct Registration {
  uint32_t size;  // kRegistrationSize; the callbacks start at the next 8-byte boundary
  EventCallback on_event;
  ReplyCallback on_reply;
};
inline constexpr uint32_t kRegistrationSize = 24;
static_assert(sizeof(Registration) == kRegistrationSize);
static_assert(offsetof(Registration, on_event) == 8 && offsetof(Registration, on_reply) == 16);

// Codes the stand-in answers with when the scenario does not choose them. Win32 numbers, so
// that the tool's log shows a familiar value.
inline constexpr int32_t kSimOk = 0;
inline constexpr int32_t kSimInvalidFunction = 1;    // one of the three unused slots was called
inline constexpr int32_t kSimScenarioMissing = 2;    // GetInstance: no sim\scenario.json
inline constexpr int32_t kSimOutOfMemory = 8;        // allocation or thread creation failed
inline constexpr int32_t kSimScenarioInvalid = 13;   // GetInstance: scenario unreadable or wrong
inline constexpr int32_t kSimInvalidParameter = 87;  // bad argument, record or request text
inline constexpr int32_t kSimAlreadyRegistered = 183;
// The "error" of the reply to a method the scenario does not list (and no "default" entry).
inline constexpr int32_t kSimUnknownMethodError = 1168;

}  // namespace tarn::sim
