// oxsvc.exe: the stand-in for the agent's services. Installed as oxintsvc.exe and oxsecsvc.exe,
// it is a real service process: it reports itself running and waits until the service manager
// stops it. The agent's behaviour lives in oxsdk.dll; the services only have to exist and run.
#include <windows.h>

#include <cstdio>

#include "base/win_handles.h"

namespace {

SERVICE_STATUS_HANDLE StatusHandle = nullptr;
HANDLE StopEvent = nullptr;

void ReportState(DWORD state) {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted =
      state == SERVICE_RUNNING ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
  SetServiceStatus(StatusHandle, &status);
}

DWORD WINAPI HandleControl(DWORD control, DWORD, void*, void*) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN:
      ReportState(SERVICE_STOP_PENDING);
      SetEvent(StopEvent);
      return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
      return NO_ERROR;
    default:
      return ERROR_CALL_NOT_IMPLEMENTED;
  }
}

void WINAPI ServiceMain(DWORD argc, wchar_t** argv) {
  // An own-process service gets its registered name as the first argument.
  StatusHandle = RegisterServiceCtrlHandlerExW(argc > 0 ? argv[0] : L"", HandleControl, nullptr);
  if (!StatusHandle) return;
  ReportState(SERVICE_RUNNING);
  WaitForSingleObject(StopEvent, INFINITE);
  ReportState(SERVICE_STOPPED);
}

}  // namespace

int wmain() {
  tarn::UniqueKernelHandle stop(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!stop) return static_cast<int>(GetLastError());
  StopEvent = stop.get();
  wchar_t anyName[] = L"";
  SERVICE_TABLE_ENTRYW table[] = {{anyName, ServiceMain}, {nullptr, nullptr}};
  if (!StartServiceCtrlDispatcherW(table)) {
    const DWORD error = GetLastError();
    fwprintf(stderr, L"oxsvc: runs only when the service manager starts it (error %lu)\n", error);
    return static_cast<int>(error);
  }
  return 0;
}
