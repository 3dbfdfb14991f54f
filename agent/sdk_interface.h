// The agent SDK library's binary contract ("oxsdk.dll"), as the tool calls it. Platform-free so
// that the exchange can be exercised natively against a fake instance.
#pragma once

#include <cstdint>

namespace tarn {

using SdkEventCallback = void (*)(void* context, const char* eventName, const char* payload);
using SdkReplyCallback = void (*)(void* context, const char* requestId, const void* unused,
                                  const char* reply);

// Handed to RegisterNotifications; the library keeps a pointer to it until unregistered.
struct SdkNotificationRecord {
  uint32_t size = sizeof(SdkNotificationRecord);
  SdkEventCallback onEvent = nullptr;
  SdkReplyCallback onReply = nullptr;
};
static_assert(sizeof(SdkNotificationRecord) == 24, "the library expects a 24-byte record");

// The instance's table of virtual operations. The first three slots are the library's own and
// are never called; the order of all six is fixed by the library. No virtual destructor: its
// layout differs between compilers.
class SdkInstance {
 public:
  virtual void Reserved0() = 0;
  virtual void Reserved1() = 0;
  virtual void Reserved2() = 0;
  /// 0 when the request was accepted, else the library's code; nothing is answered then.
  [[nodiscard]] virtual int32_t Run(const char* request, const char* requestId) = 0;
  /// 0, else the library's code; no callback comes then.
  [[nodiscard]] virtual int32_t RegisterNotifications(SdkNotificationRecord* record,
                                                      uint64_t* cookie) = 0;
  /// The library's code; no callback comes after it returns, whatever it says.
  [[nodiscard]] virtual int32_t UnregisterNotifications(SdkNotificationRecord* record) = 0;

 protected:
  ~SdkInstance() = default;
};

using SdkGetInstanceFunction = int32_t (*)(SdkInstance** instance, int32_t reserved);
using SdkReleaseInstanceFunction = int32_t (*)(SdkInstance* instance);  // result unused

}  // namespace tarn
