#include "ops/detect.h"

#include "base/log.h"
#include "base/result_codes.h"
#include "base/text.h"

namespace tarn {

uint32_t Detect(const LifecycleSystem& system, bool rebootFlag, std::string& answer, Logger* log) {
  if (rebootFlag) {
    WriteLog(log, L"Checking if detect requires reboot");
    uint32_t required = 0;
    if (system.isRebootRequired(required, log) == 0 && required == 1) {
      WriteLog(log, L"Reboot is required. Assign \"3\" to the result.");
      answer = "3|||";
      return kResultRebootRequired;
    }
  }
  WriteLog(log, L"Reboot is not required. Assign \"0\" to the result");
  answer = "0|||";

  WriteLog(log, L"Get TARN Service image path");
  std::wstring imagePath;
  if (const uint32_t code = LookUpAgentImagePath(system, imagePath, log); code != 0) return code;
  WriteLog(log, L"Retrieved TARN Service Image Path");
  WriteLog(log, L"Assign \"2\" to the result");
  answer = "2|";
  WriteLog(log, L"Check for running services");
  const bool running = system.waitForAgentServices(log);
  if (running) {
    answer = "1|";
    WriteLog(log, L"Get TARN Critical issues");
    std::string issues;
    if (system.getCriticalIssues(issues, log) != 0 || !issues.empty()) {
      WriteLog(log, L"Critical issues found: " + Utf8ToWide(issues));
      answer = issues == kInvalidFeatureListIssue ? "4|" : "2|";
    }
  }

  // A stopped agent cannot answer: it is not asked, and its fields are then not gathered.
  WriteLog(log, L"Retrieving endpoint information");
  const std::wstring folder = DirectoryOf(imagePath);
  EndpointFields fields;
  uint32_t code =
      GatherEndpointFields(system, folder + L"\\oxagng\\oxagng.jso", running, fields, log);
  if (code != 0) {
    code = GatherEndpointFields(system, folder + L"\\oxag\\oxag.jso", running, fields, log);
  }
  if (code != 0) {
    WriteLog(log, L"Cannot retrieve endpoint information");
    answer = "2|";
  } else {
    answer += fields.Joined();
  }
  WriteLog(log, L"TARN Detect finished");
  WriteLog(log, code != 0 ? L"Error code: " + std::to_wstring(code) : L"TARN Already exists");
  return code;
}

}  // namespace tarn
