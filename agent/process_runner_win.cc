#include <windows.h>

#include <vector>

#include "agent/process_runner.h"
#include "base/log.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

// The runner's lines are made but go to no log: the callers' own lines around the run say what
// happened, and a command line may carry an uninstall password.
Logger* const kRunnerLog = nullptr;

}  // namespace

uint32_t RunProcess(const std::wstring& applicationPath, const std::wstring& commandLine) {
  WriteLog(kRunnerLog, L"Starting process from " + applicationPath +
                           L" with the following params:" + commandLine);
  // CreateProcessW may write into the command line, so it gets a buffer of its own.
  std::vector<wchar_t> buffer(commandLine.begin(), commandLine.end());
  buffer.push_back(L'\0');
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(applicationPath.c_str(), buffer.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      nullptr, &startup, &started)) {
    const DWORD error = GetLastError();
    WriteLog(kRunnerLog, L"Cannot start the process. Error code: " + std::to_wstring(error));
    return error;
  }
  UniqueKernelHandle process(started.hProcess);
  UniqueKernelHandle thread(started.hThread);

  if (WaitForSingleObject(process.get(), INFINITE) != WAIT_OBJECT_0) {
    process.reset();
    thread.reset();
    const DWORD error = GetLastError();
    WriteLog(kRunnerLog, L"Cannot wait for the process. Error code: " + std::to_wstring(error));
    return error;
  }
  DWORD exitCode = 0;
  const BOOL retrieved = GetExitCodeProcess(process.get(), &exitCode);
  process.reset();  // the closes keep the last error of the query
  thread.reset();
  WriteLog(kRunnerLog, L"Retrieve process exit code");
  if (!retrieved) {
    const DWORD error = GetLastError();
    WriteLog(kRunnerLog,
             L"Cannot retrieve process exit code. Error code: " + std::to_wstring(error));
    return error;
  }
  WriteLog(kRunnerLog, L"Process finished. Exit code is: " + std::to_wstring(exitCode));
  return exitCode;
}

}  // namespace tarn
