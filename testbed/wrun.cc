// wrun.exe PROGRAM [ARGS]: runs the rest of its command line and reports the child's full 32-bit
// exit code, which Wine cuts to its low 8 bits on the way to a Linux parent.
// - The child inherits wrun's standard handles, so its output passes through byte for byte.
// - WRUN_EXITFILE, when set, names a file (a Windows path: "Z:/tmp/code" is /tmp/code) that gets
//   the code in decimal and "\n". It is written only when the child ran.
// - wrun exits with the code's low byte, or 1 when that byte is 0 but the code is not, so a Linux
//   caller still sees a failure; 127 when the child could not be started.
// - The wait is bounded by WRUN_TIMEOUT_SECONDS (default 900): a child still running then is
//   ended with ERROR_TIMEOUT (1460), which is also the code reported.
// As with CreateProcessW, a bare program name is looked for in wrun.exe's own folder first.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

namespace {

constexpr DWORD kDefaultTimeoutSeconds = 900;

class KernelHandle {
 public:
  explicit KernelHandle(HANDLE handle) : handle_(handle) {}
  ~KernelHandle() {
    if (handle_) CloseHandle(handle_);
  }
  KernelHandle(const KernelHandle&) = delete;
  KernelHandle& operator=(const KernelHandle&) = delete;
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

// The command line after wrun's own program name.
const wchar_t* SkipProgramName(const wchar_t* p) {
  bool quoted = false;
  while (*p && (quoted || (*p != L' ' && *p != L'\t'))) {
    if (*p == L'"') quoted = !quoted;
    ++p;
  }
  while (*p == L' ' || *p == L'\t') ++p;
  return p;
}

std::wstring Environment(const wchar_t* name) {
  wchar_t value[MAX_PATH];
  const DWORD length = GetEnvironmentVariableW(name, value, MAX_PATH);
  return length != 0 && length < MAX_PATH ? std::wstring(value, length) : std::wstring();
}

DWORD TimeoutMilliseconds() {
  const std::wstring text = Environment(L"WRUN_TIMEOUT_SECONDS");
  const unsigned long seconds = text.empty() ? 0 : std::wcstoul(text.c_str(), nullptr, 10);
  return (seconds != 0 && seconds < 86400 ? seconds : kDefaultTimeoutSeconds) * 1000;
}

void WriteExitFile(DWORD code) {
  const std::wstring path = Environment(L"WRUN_EXITFILE");
  if (path.empty()) return;
  FILE* file = _wfopen(path.c_str(), L"wb");
  const bool written = file && std::fprintf(file, "%lu\n", static_cast<unsigned long>(code)) > 0;
  if ((file && std::fclose(file) != 0) || !written) {
    std::fprintf(stderr, "wrun: cannot write %ls\n", path.c_str());
  }
}

}  // namespace

int wmain() {
  const wchar_t* rest = SkipProgramName(GetCommandLineW());
  if (!*rest) {
    std::fprintf(stderr, "usage: wrun.exe PROGRAM [ARGS]\n");
    return 127;
  }
  std::wstring command;
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION started{};
  // Wine, starting many processes at once on a loaded machine, now and then refuses one with
  // ERROR_INTERNAL_ERROR before it exists (Windows does not): that start is tried again.
  bool ran = false;
  for (int attempt = 0; attempt < 20 && !ran; ++attempt) {
    if (attempt > 0) Sleep(100);
    command = rest;  // fresh for each try: CreateProcessW may write to it
    ran = CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                         &startup, &started);
    if (!ran && GetLastError() != ERROR_INTERNAL_ERROR) break;
  }
  if (!ran) {
    std::fprintf(stderr, "wrun: cannot start %ls (error %lu)\n", rest, GetLastError());
    return 127;
  }
  KernelHandle process(started.hProcess);
  KernelHandle thread(started.hThread);
  DWORD code = 0;
  if (WaitForSingleObject(process.get(), TimeoutMilliseconds()) != WAIT_OBJECT_0) {
    std::fprintf(stderr, "wrun: %ls did not end in time\n", rest);
    TerminateProcess(process.get(), ERROR_TIMEOUT);
    WaitForSingleObject(process.get(), 5000);
    code = ERROR_TIMEOUT;
  } else if (!GetExitCodeProcess(process.get(), &code)) {
    std::fprintf(stderr, "wrun: no exit code (error %lu)\n", GetLastError());
    return 127;
  }
  WriteExitFile(code);
  return (code & 0xFF) != 0 ? static_cast<int>(code & 0xFF) : (code != 0 ? 1 : 0);
}
