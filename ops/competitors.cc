#include "ops/competitors.h"

#include "agent/product_events.h"
#include "agent/sdk_session_state.h"
#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {
namespace {

struct CompetitorWords {
  const wchar_t* createThread;
  EventThreadBody thread;
  const wchar_t* methodKey;
  const wchar_t* sessionFailed;
  const wchar_t* apiFailed;
  const wchar_t* agentFailed;
  const wchar_t* joinFailed;
};

constexpr CompetitorWords kAssessment{
    L"Create remove TARN Competitors Assessment thread with ProcessScanCompetitorsEvents",
    ProcessScanCompetitorsEvents,
    L"Product.CompetitorRemoval.StartAssessment",
    L"Failed to execute Product.CompetitorRemoval.StartAssessment. Error code:",
    L"Failed to execute Product.CompetitorRemoval.StartAssessment. API error code:",
    L"Failed to execute Product.CompetitorRemoval.StartAssessment. EndpointSdkError error code:",
    L"Failed to wait for competitors assessment thread. Error code: ",
};

constexpr CompetitorWords kRemoval{
    L"Create remove TARN Competitors thread with ProcessRemoveCompetitorsEvents",
    ProcessRemoveCompetitorsEvents,
    L"Product.CompetitorRemoval.StartRemoval",
    L"Failed to execute Product.CompetitorRemoval.StartRemoval. Error code:",
    L"Failed to execute Product.CompetitorRemoval.StartRemoval. API error code:",
    L"Failed to execute Product.CompetitorRemoval.StartRemoval. EndpointSdkError error code:",
    L"Failed to wait for remove competitor thread. Error code: ",
};

// Two fresh GUIDs as the run context; 0 or the platform's code.
uint32_t MakeRunContext(RunContext& context, const AgentPlatform& platform) {
  RunContext made;
  if (const uint32_t error = platform.makeGuid(made.otherData); error != 0) return error;
  if (const uint32_t error = platform.makeGuid(made.someData); error != 0) return error;
  context = std::move(made);
  return 0;
}

std::wstring RunContextText(const RunContext& context) {
  return L"\"runContext\": { \"otherData\": \"" + Utf8ToWide(context.otherData) +
         L"\", \"someData\": \"" + Utf8ToWide(context.someData) + L"\" }";
}

// Starts `words.thread`, runs the request and waits for the thread; on success moves this run's
// products (`EventResults.*list`) into `out`. The thread is joined on every path.
template <typename Entry>
uint32_t RunCompetitorRequest(const CompetitorWords& words, const std::wstring& request,
                              const std::wstring& commandName, int64_t ProductEventResults::*result,
                              std::vector<Entry> ProductEventResults::*list,
                              std::vector<Entry>& out, const AgentPlatform& platform, Logger* log) {
  {
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    EventResults.*result = 0;
    (EventResults.*list).clear();
    SessionState.productEventSeen.exchange(false);
    SessionState.waitFinished.exchange(false);
  }
  WriteLog(log, words.createThread);
  std::unique_ptr<EventThread> thread = platform.newEventThread();
  if (const uint32_t error = thread->Start(words.thread, &EventResults); error != 0) {
    RaiseFlag(SessionState, SessionState.waitFinished);
    return LogFailure(log, L"Failed to create thread. Error code:", error);
  }

  rapidjson::Document reply;
  int32_t apiError = 0;
  int64_t endpointSdkError = 0;
  const uint32_t session = platform.executeSdkMethod(reply, apiError, endpointSdkError,
                                                     words.methodKey, request, commandName, log);
  uint32_t failure = 0;
  if (session != 0) {
    failure = LogFailure(log, words.sessionFailed, session);
  } else if (apiError != 0) {
    WriteLog(log, words.apiFailed + std::to_wstring(apiError));
    failure = static_cast<uint32_t>(apiError);
  } else if (endpointSdkError != 0) {
    WriteLog(log, words.agentFailed + std::to_wstring(endpointSdkError));
    failure = static_cast<uint32_t>(endpointSdkError);
  }
  if (failure != 0) {
    // The event may never come: release the thread rather than wait for it.
    static_cast<void>(StopEventThread(*thread));
    return failure;
  }

  // The product wait has ended, so the thread has taken its event or been told to stop.
  if (const uint32_t error = thread->Join(kEventThreadStopWait); error != 0) {
    RaiseFlag(SessionState, SessionState.waitFinished);
    return LogFailure(log, words.joinFailed, error);
  }
  thread.reset();
  int64_t code = 0;
  {
    std::lock_guard<std::mutex> lock(SessionState.mutex);
    code = EventResults.*result;
    if (code == 0 && SessionState.productEventSeen.load()) out = std::move(EventResults.*list);
  }
  if (code != 0) {
    WriteLog(log, L"Failed to get competitors list. Error code: " + std::to_wstring(code));
  }
  return static_cast<uint32_t>(code);
}

}  // namespace

std::wstring AssessmentRequest(const RunContext& context) {
  return L"{ \"type\": \"oxsdk\", \"data\":{ \"Product.CompetitorRemoval\":[ { \"@name\": "
         L"\"StartAssessment\", \"input\": { " +
         RunContextText(context) + L" } } ] } }";
}

std::wstring RemovalRequest(const std::vector<std::wstring>& ids, const RunContext& context) {
  std::wstring list;
  for (size_t i = 0; i < ids.size(); ++i) {
    if (i > 0) list += L", ";
    list += L"\"" + ids[i] + L"\"";
  }
  return L"{ \"type\": \"oxsdk\", \"data\":{ \"Product.CompetitorRemoval\":[ { \"@name\": "
         L"\"StartRemoval\", \"input\": { \"ids\":[ " +
         list + L" ], " + RunContextText(context) + L" } } ] } }";
}

std::string FormatCompetitors(const std::vector<CompetitorEntry>& competitors) {
  std::string text;
  for (const CompetitorEntry& entry : competitors) {
    if (!text.empty()) text += "||";
    text += "id=" + entry.id + "|productName=" + entry.productName +
            "|removalSupported=" + (entry.removalSupported ? "1" : "0");
  }
  return text;
}

std::string FormatRemovals(const std::vector<RemovalEntry>& removals) {
  std::string text;
  for (const RemovalEntry& entry : removals) {
    if (!text.empty()) text += "||";
    text += "id=" + entry.id + "|productName=" + entry.productName + "|status=" + entry.status;
  }
  return text;
}

uint32_t StartCompetitorsAssessment(std::vector<CompetitorEntry>& competitors,
                                    const std::wstring& commandName, const AgentPlatform& platform,
                                    Logger* log) {
  WriteLog(log, L"Execute RemoveTARNCompetitorsAssessment");
  if (const uint32_t error = MakeRunContext(EventResults.runContext, platform); error != 0) {
    WriteLog(log, L"Failed to create GUID");
    return error;
  }
  return RunCompetitorRequest(kAssessment, AssessmentRequest(EventResults.runContext), commandName,
                              &ProductEventResults::assessmentResult,
                              &ProductEventResults::assessment, competitors, platform, log);
}

uint32_t StartCompetitorsRemoval(std::vector<RemovalEntry>& removals,
                                 const std::vector<std::wstring>& ids,
                                 const std::wstring& commandName, const AgentPlatform& platform,
                                 Logger* log) {
  if (const uint32_t error = MakeRunContext(EventResults.runContext, platform); error != 0) {
    return error;
  }
  return RunCompetitorRequest(kRemoval, RemovalRequest(ids, EventResults.runContext), commandName,
                              &ProductEventResults::removalResult, &ProductEventResults::removal,
                              removals, platform, log);
}

}  // namespace tarn
