#include "ops/scans.h"

#include "agent/product_events.h"
#include "agent/sdk_session_state.h"
#include "base/command_facts.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/unique_handle.h"

namespace tarn {
namespace {

struct ScanWords {
  const wchar_t* start;
  const wchar_t* createThread;
  const wchar_t* methodKey;
  const wchar_t* execute;
  const wchar_t* joinFailed;
  const wchar_t* finished;
};

constexpr ScanWords kFullScan{
    L"Start full scan",
    L"Create full scan thread with ProcessProductEvents",
    L"FileScan.OnDemand.RunFullScan",
    L"Execute FileScan.OnDemand.RunFullScan method",
    L"Failed to wait for full scan thread. Error code: ",
    L"Finished starting Full scan with error code: ",
};

constexpr ScanWords kQuickScan{
    L"Start quick scan",
    L"Create quick scan thread with ProcessProductEvents",
    L"FileScan.OnDemand.RunQuickScan",
    L"Execute FileScan.OnDemand.RunQuickScan method",
    L"Failed to wait for quick scan thread. Error code: ",
    L"Finished starting Quick scan with error code: ",
};

// Starts ProcessProductEvents with fresh flags, or returns null (logged) when no thread could be
// started; then nothing will end the session's wait but its time-out.
std::unique_ptr<EventThread> StartScanThread(const ScanWords& words, const AgentPlatform& platform,
                                             Logger* log) {
  {
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    SessionState.productEventSeen.exchange(false);
    SessionState.waitFinished.exchange(false);
    // The thread starts before the request: a reply flag left from an earlier request would end
    // it at once.
    SessionState.replyReceived.exchange(false);
    EventResults.scanEventResult = 0;
  }
  WriteLog(log, words.createThread);
  std::unique_ptr<EventThread> thread = platform.newEventThread();
  if (const uint32_t error = thread->Start(ProcessProductEvents, &EventResults); error != 0) {
    WriteLog(log, L"Failed to create thread. Error code:" + std::to_wstring(error));
    RaiseFlag(SessionState, SessionState.waitFinished);
    return nullptr;
  }
  return thread;
}

uint32_t StartScan(const ScanWords& words, int64_t& endpointSdkError,
                   const std::wstring& commandName, const AgentPlatform& platform, Logger* log) {
  WriteLog(log, words.start);
  const bool explicitWait = SessionState.explicitTimeoutMs.load() >= 1;
  std::unique_ptr<EventThread> thread;
  if (explicitWait) {
    thread = StartScanThread(words, platform, log);
  } else {
    RaiseFlag(SessionState, SessionState.waitFinished);  // no thread: events are not even queued
  }
  // Every way out stops and joins the thread, also when the session failed before its request
  // ran and so never raised the wait-finished flag.
  auto stopThread = scope_exit([&] {
    if (thread) static_cast<void>(StopEventThread(*thread));
  });

  WriteLog(log, words.execute);
  rapidjson::Document reply;
  int32_t apiError = 0;
  const uint32_t result = platform.executeSdkMethod(reply, apiError, endpointSdkError,
                                                    words.methodKey, L"", commandName, log);
  if (result != 0 || !explicitWait) {
    // Also the regular end without an explicit wait, with 0: the wording is the agent's own.
    WriteLog(log, L"Could not execute method. Error code: " + std::to_wstring(result));
    return result;
  }

  if (thread) {
    // The session's wait ended when the thread raised the wait-finished flag: it is ending.
    if (const uint32_t error = thread->Join(kEventThreadStopWait); error != 0) {
      WriteLog(log, words.joinFailed + std::to_wstring(error));
    }
  }
  bool replied = false, eventSeen = false;
  uint32_t scanEventResult = 0;
  {
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    // The reply the session read, not one that came after it: the event decided then.
    replied = SessionState.replyTaken;
    eventSeen = SessionState.productEventSeen.load();
    scanEventResult = EventResults.scanEventResult;
  }
  uint32_t code = result;
  if (!replied) {
    if (eventSeen) {
      WriteLog(log, L"Product has an event. Scan error: " + std::to_wstring(scanEventResult));
      endpointSdkError = scanEventResult;
    } else {
      WriteLog(log, L"Scan failed. Timeout error");
      code = kErrorTimeout;
    }
  }
  WriteLog(log, words.finished + std::to_wstring(code));
  return code;
}

}  // namespace

uint32_t StartUpdate(int64_t& endpointSdkError, const AgentPlatform& platform, Logger* log) {
  WriteLog(log, L"Execute Update.StartUpdate method");
  rapidjson::Document reply;
  int32_t apiError = 0;
  const uint32_t result =
      platform.executeSdkMethod(reply, apiError, endpointSdkError, L"Update.StartUpdate", L"",
                                FactsOf(Command::kStartUpdate).word, log);
  if (result != 0) {
    WriteLog(log, L"Failed to execute method. Error code: " + std::to_wstring(result));
  }
  WriteLog(log, L"Finished to Start update with error code: " + std::to_wstring(result));
  return result;
}

uint32_t StartFullScan(int64_t& endpointSdkError, const std::wstring& commandName,
                       const AgentPlatform& platform, Logger* log) {
  return StartScan(kFullScan, endpointSdkError, commandName, platform, log);
}

uint32_t StartQuickScan(int64_t& endpointSdkError, const std::wstring& commandName,
                        const AgentPlatform& platform, Logger* log) {
  return StartScan(kQuickScan, endpointSdkError, commandName, platform, log);
}

}  // namespace tarn
