#include "agent/sdk_exchange.h"

#include <chrono>
#include <cstring>

#include "agent/product_events.h"
#include "agent/sdk_reply.h"
#include "agent/sdk_requests.h"
#include "agent/sdk_session_state.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

// The session waits on the reply, or, with an explicit time-out, on the end of the product
// operation that an event thread reports. Returns false on time-out.
bool WaitForOutcome(const SdkExchange& exchange, int64_t explicitTimeoutMs, Logger* log) {
  std::unique_lock<std::mutex> lock(SessionState.mutex);
  if (explicitTimeoutMs < 0) {
    WriteLog(log, L"Set wait timeout");
    const std::chrono::milliseconds timeout = exchange.replyTimeout.count() >= 0
                                                  ? exchange.replyTimeout
                                                  : ReplyTimeoutFor(exchange.commandName);
    return WaitUntil(SessionState, lock, timeout, [] { return SessionState.replyReceived.load(); });
  }
  WriteLog(log, L"Wait for thread");
  return WaitUntil(SessionState, lock, std::chrono::milliseconds(explicitTimeoutMs),
                   [] { return SessionState.waitFinished.load(); });
}

}  // namespace

uint32_t RunSdkExchange(SdkInstance& instance, const SdkExchange& exchange,
                        rapidjson::Document& reply, int32_t& apiError, int64_t& endpointSdkError,
                        bool& completed, Logger* log) {
  completed = false;
  SdkNotificationRecord record;
  record.onEvent = OnSdkEvent;
  record.onReply = OnSdkReply;
  uint64_t cookie = 0;
  WriteLog(log, L"Register instance notifications");
  apiError = instance.RegisterNotifications(&record, &cookie);
  if (apiError != 0) {
    WriteLog(log, L"Failed to register instance notifications. Error code : " +
                      std::to_wstring(apiError));
    return kErrorSdkInstance;
  }

  // From here on every way out unregisters first.
  auto unregister = [&](const wchar_t* message) {
    apiError = instance.UnregisterNotifications(&record);
    WriteLog(log, message + std::to_wstring(apiError));
  };
  constexpr const wchar_t* kUnregistered = L"Instance unregistered with exit code : ";

  WriteLog(log, L"Find method");
  std::string request;
  if (exchange.explicitRequest.empty()) {
    const auto& templates = SdkRequestTemplates();
    const auto found = templates.find(exchange.methodKey);
    if (found == templates.end()) {
      WriteLog(log, L"Method not found. Unregistering instance");
      unregister(kUnregistered);
      return kErrorBadArguments;
    }
    request = found->second;
  } else {
    request = WideToUtf8(exchange.explicitRequest);
  }

  WriteLog(log, L"Creating GUID");
  std::string requestId;
  if (const uint32_t error = exchange.makeRequestId(requestId); error != 0) {
    WriteLog(log, L"Failed to create GUID. Error code : " + std::to_wstring(error));
    unregister(kUnregistered);
    return error;
  }

  WriteLog(log, L"Run instance");
  {
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    std::strncpy(SessionState.requestId, requestId.c_str(), sizeof SessionState.requestId - 1);
    SessionState.replyReceived.exchange(false);
    SessionState.replyTaken = false;
    SessionState.reply.clear();
  }
  // Not under the mutex: a library may answer from inside Run.
  apiError = instance.Run(request.c_str(), requestId.c_str());
  if (apiError != 0) {
    WriteLog(log, L"Failed to run instance. Error code : " + std::to_wstring(apiError));
    unregister(kUnregistered);
    return kErrorRequestRefused;
  }

  const int64_t explicitTimeoutMs = SessionState.explicitTimeoutMs.load();
  if (!WaitForOutcome(exchange, explicitTimeoutMs, log)) {
    WriteLog(log, L"Failed to run instance due to timeout");
    if (explicitTimeoutMs >= 0) {
      WriteLog(log, L"Finished waiting");
      RaiseFlag(SessionState, SessionState.waitFinished);  // event threads stop
      unregister(L"Instance unregistered with code : ");
    } else {
      unregister(kUnregistered);
    }
    return kErrorTimeout;
  }

  std::string replyText;
  {
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    replyText.swap(SessionState.reply);  // taken, not copied: a status reply can be megabytes
    SessionState.replyTaken = SessionState.replyReceived.load();
  }
  const uint32_t result =
      ParseSdkReply(replyText, exchange.methodKey, reply, endpointSdkError, log);
  endpointSdkError =
      WaitProcessOnProduct(endpointSdkError, exchange.commandName, log, exchange.productTimeout);
  unregister(kUnregistered);
  completed = true;
  return result;
}

}  // namespace tarn
