#include "app/feature_handlers.h"

#include "base/log.h"
#include "base/process_state.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "ops/feature_editing.h"
#include "ops/installation_links.h"

namespace tarn {

uint32_t AnswerEditFeatures(std::string& /*answer*/, Logger* log) {
  // The gate sets both flags for a granted authorization; this holds even if it did not run.
  if (!AuthorizationServiceUsed || !Authorized) {
    WriteLog(log, L"Operation is not authorized. Access Denied");
    return kErrorAccessDenied;
  }
  WriteLog(log, L"Argc number is: " + std::to_wstring(ArgumentCount));
  const std::vector<std::wstring> arguments(ArgumentList.begin(),
                                            ArgumentList.begin() + ArgumentCount);
  for (size_t index = 1; index < arguments.size(); ++index) {
    WriteLog(log, L"Parameter " + std::to_wstring(index) + L" value is: " + arguments[index]);
  }
  return EditFeatures(arguments, log);
}

uint32_t AnswerInstallationLinks(std::string& answer, Logger* log) {
  InstallationLinkOptions options;
  if (const uint32_t code = ParseInstallationLinkOptions(ArgumentList, ArgumentCount, options, log);
      code != 0) {
    return code;
  }
  const std::wstring libraryPath = DirectoryPrefixOf(ArgumentList[0]) + L"kv.dll";
  WriteLog(log, L"kv.dll file path: " + libraryPath);
  WriteLog(log, L"Retrieving installation link");
  const uint32_t code = GetInstallationLinks(answer, libraryPath, options, log);
  if (code == 0) WriteLog(log, L"Links retrieved successfully");
  return code;
}

}  // namespace tarn
