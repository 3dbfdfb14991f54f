// bench-driver.exe: starts each program of a plan once, in order, and prints its wall and CPU
// time. Timing inside Wine leaves Wine's own start-up out of the figures.
//
//   bench-driver.exe PLAN
// PLAN is UTF-8, one run per line: LABEL <tab> LIMIT_MS <tab> COMMAND LINE. A LIMIT_MS above 0
// ends the program after that long (for waits that would last hours). Each run prints
//   LABEL WALL_MS CPU_MS EXIT_CODE END_MS PID
// (END_MS: when it ended, ms since 1970 UTC; with PID, to set against the agent's journal) with
// the program's standard handles on NUL.
#include <windows.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

std::wstring Wide(const std::string& text) {
  if (text.empty()) return {};
  const int size =
      MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring wide(size, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), size);
  return wide;
}

// FILETIME counts 100 ns from 1601.
double EpochMilliseconds(const FILETIME& time) {
  ULARGE_INTEGER value;
  value.LowPart = time.dwLowDateTime;
  value.HighPart = time.dwHighDateTime;
  return static_cast<double>(value.QuadPart - 116444736000000000ULL) / 1e4;
}

double Milliseconds(const FILETIME& time) {
  ULARGE_INTEGER value;
  value.LowPart = time.dwLowDateTime;
  value.HighPart = time.dwHighDateTime;
  return static_cast<double>(value.QuadPart) / 1e4;
}

void Run(const std::string& label, DWORD limitMs, const std::wstring& commandLine) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE nul = CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                           &inherit, OPEN_EXISTING, 0, nullptr);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = startup.hStdOutput = startup.hStdError = nul;
  PROCESS_INFORMATION process{};
  std::wstring line = commandLine;
  LARGE_INTEGER frequency, start, end;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                      &process)) {
    std::printf("%s - - start-failed-%lu\n", label.c_str(), GetLastError());
    CloseHandle(nul);
    return;
  }
  if (WaitForSingleObject(process.hProcess, limitMs > 0 ? limitMs : INFINITE) == WAIT_TIMEOUT) {
    // CPU first: the end of the wait is what is measured, not the termination.
    FILETIME created, exited, kernel, user;
    GetProcessTimes(process.hProcess, &created, &exited, &kernel, &user);
    QueryPerformanceCounter(&end);
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    TerminateProcess(process.hProcess, 1);
    WaitForSingleObject(process.hProcess, INFINITE);
    std::printf("%s %.1f %.1f limit %.0f %lu\n", label.c_str(),
                1e3 * static_cast<double>(end.QuadPart - start.QuadPart) / frequency.QuadPart,
                Milliseconds(kernel) + Milliseconds(user), EpochMilliseconds(now),
                process.dwProcessId);
  } else {
    QueryPerformanceCounter(&end);
    FILETIME created, exited, kernel, user;
    GetProcessTimes(process.hProcess, &created, &exited, &kernel, &user);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    std::printf("%s %.1f %.1f %lu %.0f %lu\n", label.c_str(),
                1e3 * static_cast<double>(end.QuadPart - start.QuadPart) / frequency.QuadPart,
                Milliseconds(kernel) + Milliseconds(user), code, EpochMilliseconds(exited),
                process.dwProcessId);
  }
  std::fflush(stdout);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  CloseHandle(nul);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: bench-driver.exe PLAN\n");
    return 160;
  }
  std::ifstream plan(argv[1], std::ios::binary);
  if (!plan) {
    std::fprintf(stderr, "bench-driver: cannot read the plan\n");
    return 2;
  }
  for (std::string row; std::getline(plan, row);) {
    if (!row.empty() && row.back() == '\r') row.pop_back();
    const size_t first = row.find('\t');
    const size_t second = first == std::string::npos ? first : row.find('\t', first + 1);
    if (second == std::string::npos) continue;
    Run(row.substr(0, first), std::stoul(row.substr(first + 1, second - first - 1)),
        Wide(row.substr(second + 1)));
  }
  return 0;
}
