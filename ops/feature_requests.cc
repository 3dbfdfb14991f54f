// Feature editing against the agent: the request goes through the SDK session.
#include "agent/sdk_session.h"
#include "base/command_facts.h"
#include "base/log.h"
#include "ops/feature_editing.h"

namespace tarn {
namespace {

// The first failure wins: the session's own, then the SDK call's, then the agent's answer.
uint32_t RunAddRemoveRequest(const std::wstring& request, Logger* log) {
  rapidjson::Document reply;
  int32_t apiError = 0;
  int64_t endpointSdkError = 0;
  const uint32_t result =
      ExecuteSdkMethod(reply, apiError, endpointSdkError, L"Product.Installer.AddRemove", request,
                       FactsOf(Command::kEditFeatures).word, log);
  if (result != 0) return result;
  if (apiError != 0) return static_cast<uint32_t>(apiError);
  return static_cast<uint32_t>(endpointSdkError);
}

}  // namespace

uint32_t EditFeatures(const std::vector<std::wstring>& arguments, Logger* log) {
  return EditFeatures(RunAddRemoveRequest, arguments, log);
}

}  // namespace tarn
