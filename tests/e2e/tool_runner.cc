#include "tests/e2e/tool_runner.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>

#include "base/win_handles.h"

namespace tarn::e2e {
namespace {

// Quotes one argument so that the child's command-line parser gives it back unchanged.
std::wstring QuoteArgument(const std::wstring& arg) {
  if (!arg.empty() && arg.find_first_of(L" \t\"") == std::wstring::npos) return arg;
  std::wstring out = L"\"";
  size_t backslashes = 0;
  for (wchar_t c : arg) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    out.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    backslashes = 0;
    out += c;
  }
  out.append(backslashes * 2, L'\\');
  return out + L"\"";
}

constexpr DWORD kRunLimitMs = 120000;  // no single tool run in the suite takes this long

}  // namespace

std::filesystem::path BuildDirectory() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}

Sandbox::Sandbox(Logging logging) {
  std::filesystem::copy_file(BuildDirectory() / "tarn-rmm.exe", exe());
  if (logging == Logging::kOn) WriteFile("configfile.txt", "Logging=true\r\n");
}

ToolRun Sandbox::Run(const std::vector<std::wstring>& args, const std::wstring& programArg,
                     const std::filesystem::path& workingDir) const {
  std::unique_ptr<RunningTool> tool = Start(args, programArg, workingDir);
  return tool ? tool->Wait() : ToolRun{};
}

std::unique_ptr<RunningTool> Sandbox::Start(const std::vector<std::wstring>& args,
                                            const std::wstring& programArg,
                                            const std::filesystem::path& workingDir) const {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  UniqueKernelHandle readEnd, writeEnd;
  if (!CreatePipe(readEnd.put(), writeEnd.put(), &inherit, 0)) {
    ADD_FAILURE() << "CreatePipe failed: " << GetLastError();
    return nullptr;
  }
  SetHandleInformation(readEnd.get(), HANDLE_FLAG_INHERIT, 0);
  UniqueFileHandle nul(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, OPEN_EXISTING, 0,
                                   nullptr));

  std::wstring commandLine = QuoteArgument(programArg.empty() ? exe().wstring() : programArg);
  for (const auto& arg : args) commandLine += L" " + QuoteArgument(arg);

  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = nul.get();
  startup.hStdOutput = writeEnd.get();
  startup.hStdError = nul.get();
  PROCESS_INFORMATION process{};
  const std::wstring cwd = (workingDir.empty() ? dir_.path() : workingDir).wstring();
  // Wine, starting many processes at once on a loaded machine, now and then refuses one with
  // ERROR_INTERNAL_ERROR before it exists: that start is tried again, a bounded number of times.
  bool started = false;
  for (int attempt = 0; attempt < 20 && !started; ++attempt) {
    started = CreateProcessW(exe().wstring().c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0,
                             nullptr, cwd.c_str(), &startup, &process);
    if (!started && GetLastError() != ERROR_INTERNAL_ERROR) break;
    if (!started) Sleep(100);
  }
  if (!started) {
    ADD_FAILURE() << "CreateProcessW failed: " << GetLastError();
    return nullptr;
  }
  CloseHandle(process.hThread);
  std::unique_ptr<RunningTool> tool(new RunningTool);
  tool->process_ = process.hProcess;
  tool->output_ = readEnd.release();
  return tool;  // the child holds the only write end now: EOF comes when it ends
}

RunningTool::~RunningTool() {
  if (process_ != nullptr) {
    if (WaitForSingleObject(process_, 0) == WAIT_TIMEOUT) TerminateProcess(process_, 0xDEAD);
    CloseHandle(process_);
  }
  if (output_ != nullptr) CloseHandle(output_);
}

ToolRun RunningTool::Wait() {
  ToolRun run;
  char buffer[4096];
  DWORD got = 0;
  while (::ReadFile(output_, buffer, sizeof buffer, &got, nullptr) && got > 0) {
    run.out.append(buffer, got);
  }
  if (WaitForSingleObject(process_, kRunLimitMs) != WAIT_OBJECT_0) {
    TerminateProcess(process_, 0xDEAD);
    ADD_FAILURE() << "the tool did not end within " << kRunLimitMs << " ms";
  }
  DWORD code = 0;
  GetExitCodeProcess(process_, &code);
  run.exitCode = code;
  return run;
}

void Sandbox::WriteFile(const std::string& name, const std::string& bytes) const {
  std::ofstream(dir_.path() / name, std::ios::binary) << bytes;
}

bool Sandbox::Exists(const std::string& name) const {
  return std::filesystem::exists(dir_.path() / name);
}

std::string Sandbox::ReadFile(const std::string& name) const {
  std::ifstream in(dir_.path() / name, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> Sandbox::LogMessages() const {
  static const std::regex kLine(R"((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d) (.*)\r)");
  std::vector<std::string> messages;
  std::istringstream text(ReadFile("log.txt"));
  std::string line;
  std::smatch match;
  while (std::getline(text, line)) {
    if (std::regex_match(line, match, kLine)) {
      messages.push_back(match[2]);
    } else {
      ADD_FAILURE() << "malformed log line: " << line;
    }
  }
  return messages;
}

bool Sandbox::Logged(const std::string& message) const {
  const auto log = LogMessages();
  return std::find(log.begin(), log.end(), message) != log.end();
}

}  // namespace tarn::e2e
