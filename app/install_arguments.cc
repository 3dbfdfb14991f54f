#include "app/install_arguments.h"

#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {

uint32_t CheckInstallArguments(const std::vector<std::wstring>& arguments, int32_t argumentCount,
                               const wchar_t* badArguments, const FileCheck& fileExists,
                               InstallRequest& request, Logger* log) {
  if (argumentCount == 3) {
    request = InstallRequest();
    request.programPath = arguments.at(2);
    return 0;
  }
  if (argumentCount < 5 || argumentCount > 7 ||
      !EqualsIgnoreCase(arguments.at(3), L"-installerXml")) {
    WriteLog(log, badArguments);
    return kErrorBadArguments;
  }
  WriteLog(log, L"Check for installer xml");
  if (const uint32_t code = fileExists(arguments.at(4), log); code != 0) {
    return LogFailure(log, L"Installer not found. Error code: ", code);
  }

  WriteLog(log, L"Check additional parameters");
  InstallRequest checked;
  checked.programPath = arguments.at(2);
  checked.xmlPath = arguments.at(4);
  const struct {
    const wchar_t* word;
    bool InstallRequest::*flag;
    const wchar_t* repeated;
  } kFlags[] = {
      {L"-resumeAfterReboot", &InstallRequest::resumeAfterReboot,
       L"Additional argument \"-resumeAfterReboot\" specified multiple times."},
      {L"-coreInstall", &InstallRequest::coreInstall,
       L"Additional argument \"-coreInstall\" specified multiple times."},
  };
  for (int32_t index = 5; index < argumentCount; ++index) {
    const std::wstring& word = arguments.at(index);
    bool known = false;
    for (const auto& flag : kFlags) {
      if (!EqualsIgnoreCase(word, flag.word)) continue;
      if (checked.*flag.flag) {
        WriteLog(log, flag.repeated);
        return kErrorBadArguments;
      }
      checked.*flag.flag = true;
      known = true;
    }
    if (!known) {
      WriteLog(log, L"Bad additional argument.");
      return kErrorBadArguments;
    }
  }
  request = checked;
  return 0;
}

}  // namespace tarn
