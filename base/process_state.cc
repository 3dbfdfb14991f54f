#include "base/process_state.h"

namespace tarn {

std::vector<std::wstring> ArgumentList;
int32_t ArgumentCount = 0;
uint32_t ResultCode = 0;
std::string ResultText;
int64_t ScanWaitTime = -1;
bool Authorized = false;
bool AuthorizationServiceUsed = false;
Logger* LogHandle = nullptr;

}  // namespace tarn
