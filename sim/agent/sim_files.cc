#include "sim/agent/sim_files.h"

#include <climits>

#include "base/win_handles.h"

namespace tarn::sim {

uint32_t CreateDirectories(const std::filesystem::path& dir) {
  if (dir.empty() || dir == dir.root_path()) return 0;
  const DWORD attributes = GetFileAttributesW(dir.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) {
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) ? 0 : ERROR_ALREADY_EXISTS;
  }
  if (uint32_t code = CreateDirectories(dir.parent_path())) return code;
  if (!CreateDirectoryW(dir.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
    return GetLastError();
  }
  return 0;
}

uint32_t ReadFileBytes(const std::filesystem::path& path, std::string* bytes) {
  UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
  if (!file) return GetLastError();
  std::string text;
  char buffer[8192];
  DWORD got = 0;
  for (;;) {
    if (!ReadFile(file.get(), buffer, sizeof buffer, &got, nullptr)) return GetLastError();
    if (got == 0) break;
    text.append(buffer, got);
  }
  *bytes = std::move(text);
  return 0;
}

namespace {

uint32_t WriteAll(HANDLE file, std::string_view bytes) {
  DWORD written = 0;
  if (bytes.size() > UINT_MAX) return ERROR_INVALID_PARAMETER;
  if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr)) {
    return GetLastError();
  }
  return written == bytes.size() ? 0 : ERROR_WRITE_FAULT;
}

}  // namespace

uint32_t WriteFileBytes(const std::filesystem::path& path, std::string_view bytes) {
  if (uint32_t code = CreateDirectories(path.parent_path())) return code;
  UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return GetLastError();
  return WriteAll(file.get(), bytes);
}

uint32_t AppendLine(const std::filesystem::path& path, std::string_view line) {
  if (uint32_t code = CreateDirectories(path.parent_path())) return code;
  UniqueFileHandle file(CreateFileW(path.c_str(), FILE_APPEND_DATA,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return GetLastError();
  std::string record(line);
  record += '\n';
  return WriteAll(file.get(), record);
}

uint32_t ReadLines(const std::filesystem::path& path, std::vector<std::string>* lines) {
  std::string text;
  if (uint32_t code = ReadFileBytes(path, &text)) return code;
  std::vector<std::string> result;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    result.push_back(std::move(line));
    start = end + 1;
  }
  *lines = std::move(result);
  return 0;
}

uint32_t CopyFileTo(const std::filesystem::path& from, const std::filesystem::path& to) {
  if (uint32_t code = CreateDirectories(to.parent_path())) return code;
  return CopyFileW(from.c_str(), to.c_str(), FALSE) ? 0 : GetLastError();
}

uint32_t DeleteTree(const std::filesystem::path& dir) {
  if (GetFileAttributesW(dir.c_str()) == INVALID_FILE_ATTRIBUTES) return 0;
  std::error_code error;
  std::filesystem::remove_all(dir, error);
  if (!error) return 0;
  // The code's category varies with the failing call; the folder still being there is what counts.
  return GetFileAttributesW(dir.c_str()) == INVALID_FILE_ATTRIBUTES ? 0 : ERROR_ACCESS_DENIED;
}

Settings ParseSettings(std::string_view text) {
  Settings settings;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    start = end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty() || line.front() == '#') continue;
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    settings[std::string(line.substr(0, equals))] = std::string(line.substr(equals + 1));
  }
  return settings;
}

std::string FormatSettings(const Settings& settings) {
  std::string text;
  for (const auto& [key, value] : settings) text += key + "=" + value + "\n";
  return text;
}

bool SettingNumber(const Settings& settings, const std::string& key, uint32_t fallback,
                   uint32_t* value) {
  const auto found = settings.find(key);
  if (found == settings.end()) {
    *value = fallback;
    return true;
  }
  const std::string& text = found->second;
  if (text.empty() || text.size() > 10) return false;
  uint64_t number = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    number = number * 10 + static_cast<uint64_t>(c - '0');
  }
  if (number > UINT32_MAX) return false;
  *value = static_cast<uint32_t>(number);
  return true;
}

std::filesystem::path ModuleDirectory(const void* addressInModule) {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      static_cast<const wchar_t*>(addressInModule), &module);
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      break;
    }
    path.resize(path.size() * 2);
  }
  return std::filesystem::path(path).parent_path();
}

}  // namespace tarn::sim
