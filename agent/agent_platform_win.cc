#include <windows.h>
// clang-format off
#include <objbase.h>
// clang-format on

#include "agent/agent_platform.h"
#include "agent/sdk_requests.h"
#include "agent/sdk_session.h"
#include "base/win_handles.h"

namespace tarn {

uint32_t CreateGuidText(std::string& text) {
  GUID guid;
  if (const HRESULT status = CoCreateGuid(&guid); FAILED(status)) {
    return LastErrorOr(static_cast<uint32_t>(status));
  }
  text = FormatRequestId(guid.Data1, guid.Data2, guid.Data3, guid.Data4);
  return 0;
}

const AgentPlatform& SystemAgentPlatform() {
  static const AgentPlatform platform{ExecuteSdkMethod, CreateGuidText, NewSystemEventThread};
  return platform;
}

}  // namespace tarn
