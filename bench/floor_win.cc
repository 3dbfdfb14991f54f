// tarn-floor.exe: what a command cannot avoid, and nothing else. The bench times it against the
// tool to show how much the tool adds on top of its unavoidable work.
//
//   tarn-floor.exe STEP...
//     sdk:LIBRARY|NAMESPACE|NAME[|WAIT]  one SDK session: signature check of LIBRARY, load,
//                                        instance, one Run, then WAIT: "reply" (default),
//                                        "event" (the reply and one product event) or "first"
//                                        (whichever of the two comes first)
//     run:PROGRAM|ARGUMENTS              signature check of PROGRAM, then PROGRAM ARGUMENTS
//     shell:PROGRAM|ARGUMENTS            the command interpreter: cmd /c "PROGRAM" ARGUMENTS
//     link:LIBRARY                       signature check, load, one GetInstallationLinks call
//     challenge:KEY                      16 random bytes, two SHA-256 hashes, the nonce written to
//                                        HKCU\KEY under the nonce key's access list
// Every step's check is the tool's: WinVerifyTrust with the same request
// (auth/trust_request_win.h), then the close.
#include <windows.h>
// After windows.h, which they need.
#include <bcrypt.h>
#include <objbase.h>
#include <sddl.h>
#include <softpub.h>
#include <wintrust.h>

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "agent/sdk_interface.h"
#include "auth/trust_request_win.h"

namespace {

std::mutex mutex;
std::condition_variable changed;
bool replied = false;
bool evented = false;
char requestId[40] = {};

bool CheckSignature(const std::wstring& path) {
  tarn::TrustRequest request(path);
  if (request.Verify() != 0) return false;
  request.Close();
  return true;
}

void OnEvent(void*, const char*, const char*) {
  {
    std::lock_guard<std::mutex> lock(mutex);
    evented = true;
  }
  changed.notify_all();
}

void OnReply(void*, const char* id, const void*, const char*) {
  {
    std::lock_guard<std::mutex> lock(mutex);
    if (id == nullptr || std::strcmp(id, requestId) != 0) return;
    replied = true;
  }
  changed.notify_all();
}

std::vector<std::wstring> Split(const std::wstring& text) {
  std::vector<std::wstring> parts;
  size_t start = 0;
  for (size_t bar; (bar = text.find(L'|', start)) != std::wstring::npos; start = bar + 1) {
    parts.push_back(text.substr(start, bar - start));
  }
  parts.push_back(text.substr(start));
  return parts;
}

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

int SdkSession(const std::vector<std::wstring>& part) {
  if (part.size() < 3) return 160;
  const std::wstring& path = part[0];
  const std::wstring wait = part.size() > 3 ? part[3] : L"reply";
  if (!CheckSignature(path)) return 1403;
  SetDllDirectoryW(path.substr(0, path.rfind(L'\\')).c_str());
  HMODULE library = LoadLibraryW(path.c_str());
  if (library == nullptr) return 126;
  const auto getInstance = reinterpret_cast<tarn::SdkGetInstanceFunction>(
      reinterpret_cast<void*>(GetProcAddress(library, "OXSDK_GetInstance")));
  const auto releaseInstance = reinterpret_cast<tarn::SdkReleaseInstanceFunction>(
      reinterpret_cast<void*>(GetProcAddress(library, "OXSDK_ReleaseInstance")));
  tarn::SdkInstance* instance = nullptr;
  if (getInstance == nullptr || releaseInstance == nullptr || getInstance(&instance, 0) != 0) {
    return 775;
  }
  tarn::SdkNotificationRecord record;
  record.onEvent = OnEvent;
  record.onReply = OnReply;
  uint64_t cookie = 0;
  int result = instance->RegisterNotifications(&record, &cookie);
  if (result == 0) {
    GUID guid;
    if (CoCreateGuid(&guid) != S_OK) return 1;
    {
      std::lock_guard<std::mutex> lock(mutex);
      std::snprintf(requestId, sizeof requestId,
                    "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", guid.Data1, guid.Data2,
                    guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3],
                    guid.Data4[4], guid.Data4[5], guid.Data4[6], guid.Data4[7]);
      replied = evented = false;
    }
    const std::string request =
        "{\"type\":\"oxsdk\",\"data\":{\"" + Narrow(part[1]) + "\":[{\"@name\":\"" +
        Narrow(part[2]) +
        "\",\"input\":{\"runContext\":{\"otherData\":\"floor\",\"someData\":\"floor\"}}}]}}";
    result = instance->Run(request.c_str(), requestId);
    if (result == 0) {
      std::unique_lock<std::mutex> lock(mutex);
      changed.wait_for(lock, std::chrono::seconds(30), [&] {
        if (wait == L"event") return replied && evented;
        if (wait == L"first") return replied || evented;
        return replied;
      });
    }
    instance->UnregisterNotifications(&record);
  }
  releaseInstance(instance);
  FreeLibrary(library);
  SetDllDirectoryW(nullptr);
  return result;
}

int RunProgram(const std::vector<std::wstring>& part, bool shell) {
  const std::wstring arguments = part.size() > 1 ? L" " + part[1] : L"";
  std::wstring program = part[0];
  std::wstring line = L"\"" + part[0] + L"\"" + arguments;
  if (shell) {
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    program = std::wstring(system) + L"\\cmd.exe";
    line = L" cmd /c \"" + part[0] + L"\"" + arguments;
  } else if (!CheckSignature(program)) {
    return 1403;
  }
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &process)) {
    return static_cast<int>(GetLastError());
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return 0;
}

using LinksExport = uint32_t (*)(std::string&, const std::string&, const std::string&,
                                 const std::string&, int32_t);

int Link(const std::wstring& path) {
  if (!CheckSignature(path)) return 1403;
  HMODULE library = LoadLibraryW(path.c_str());
  if (library == nullptr) return 126;
  const auto links = reinterpret_cast<LinksExport>(
      reinterpret_cast<void*>(GetProcAddress(library, "GetInstallationLinks")));
  std::string out;
  const int result =
      links == nullptr
          ? 127
          : static_cast<int>(links(out, "https://console.example", "key", "package", 0));
  FreeLibrary(library);
  return result;
}

void Sha256(const UCHAR* data, ULONG size, UCHAR (&digest)[32]) {
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  BCRYPT_HASH_HANDLE hash = nullptr;
  BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0);
  BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0);
  BCryptHashData(hash, const_cast<UCHAR*>(data), size, 0);
  BCryptFinishHash(hash, digest, sizeof digest, 0);
  BCryptDestroyHash(hash);
  BCryptCloseAlgorithmProvider(algorithm, 0);
}

int Challenge(const std::wstring& keyPath) {
  UCHAR nonce[16], first[32], second[32];
  BCryptGenRandom(nullptr, nonce, sizeof nonce, BCRYPT_USE_SYSTEM_PREFERRED_RNG);
  Sha256(nonce, sizeof nonce, first);
  Sha256(first, sizeof first, second);
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_CURRENT_USER, keyPath.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                      &key, nullptr) != ERROR_SUCCESS) {
    return 5;
  }
  RegSetValueExW(key, L"nonce", 0, REG_BINARY, nonce, sizeof nonce);
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  // The nonce key's list, but without the deny entries that would lock the floor out next time.
  ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;OICI;KA;;;BA)(A;OICI;KA;;;AU)",
                                                       SDDL_REVISION_1, &descriptor, nullptr);
  RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor);
  LocalFree(descriptor);
  RegCloseKey(key);
  return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  int result = 0;
  for (int i = 1; i < argc && result == 0; ++i) {
    const std::wstring step = argv[i];
    const size_t colon = step.find(L':');
    const std::wstring kind = step.substr(0, colon);
    const std::vector<std::wstring> part = Split(step.substr(colon + 1));
    if (kind == L"sdk") {
      result = SdkSession(part);
    } else if (kind == L"run" || kind == L"shell") {
      result = RunProgram(part, kind == L"shell");
    } else if (kind == L"link") {
      result = Link(part[0]);
    } else if (kind == L"challenge") {
      result = Challenge(part[0]);
    } else {
      result = 160;
    }
  }
  return result;
}
