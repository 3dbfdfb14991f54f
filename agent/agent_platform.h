// What the long-running operations (update start, scans, competitor assessment and removal) take
// from the platform: the SDK session, fresh GUID texts and event threads. The tool passes the
// system's; native tests pass a fake agent library and std::thread, so that the operations run
// under TSan with replies and events arriving from several threads.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <functional>
#include <string>

#include "agent/event_thread.h"

namespace tarn {

class Logger;

// The shape of ExecuteSdkMethod (agent/sdk_session.h).
using SdkMethodFunction =
    std::function<uint32_t(rapidjson::Document& reply, int32_t& apiError, int64_t& endpointSdkError,
                           const std::wstring& methodKey, const std::wstring& explicitRequest,
                           const std::wstring& commandName, Logger* log)>;

/// A fresh GUID as "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x": 0, or the system's code
/// with `text` untouched.
using GuidTextMaker = std::function<uint32_t(std::string& text)>;

struct AgentPlatform {
  SdkMethodFunction executeSdkMethod;
  GuidTextMaker makeGuid;
  EventThreadFactory newEventThread;
};

// The system's (Windows): ExecuteSdkMethod, CoCreateGuid and CreateThread.
const AgentPlatform& SystemAgentPlatform();
/// A GuidTextMaker: 0, or the last error (the HRESULT when there is none), `text` untouched.
[[nodiscard]] uint32_t CreateGuidText(std::string& text);
std::unique_ptr<EventThread> NewSystemEventThread();

}  // namespace tarn
