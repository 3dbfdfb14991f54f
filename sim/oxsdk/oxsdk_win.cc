// The exported face of the stand-in "oxsdk.dll": OXSDK_GetInstance, OXSDK_ReleaseInstance and
// the instance object whose table of operations the host calls. The scenario and the journal
// live in the "sim" folder beside the library.
#include <windows.h>

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>

#include "base/win_handles.h"
#include "sim/oxsdk/instance.h"

namespace tarn::sim {
namespace {

struct InstanceObject;

// Laid out as a compiler lays out the table of a class with six virtual functions and no
// virtual destructor: the object's first word points here, and every slot takes the object
// as its first argument (the x64 calling convention passes `this` that way).
struct OperationTable {
  int32_t (*unused[3])(InstanceObject* self);
  int32_t (*run)(InstanceObject* self, const char* request, const char* request_id);
  int32_t (*register_notifications)(InstanceObject* self, const Registration* record,
                                    uint64_t* cookie);
  int32_t (*unregister_notifications)(InstanceObject* self, const Registration* record);
};
static_assert(offsetof(OperationTable, run) == 3 * sizeof(void*));
static_assert(offsetof(OperationTable, unregister_notifications) == 5 * sizeof(void*));

struct InstanceObject {
  const OperationTable* table;  // first word
  Instance* instance;
};

HMODULE g_module = nullptr;
std::mutex g_journal_mutex;

std::string ToUtf8(const std::wstring& text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                       nullptr, 0, nullptr, nullptr);
  std::string out(size > 0 ? size : 0, '\0');
  if (size > 0) {
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), size,
                        nullptr, nullptr);
  }
  return out;
}

std::wstring SimDirectory() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(g_module, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) return L"sim";
    if (length < path.size()) {
      path.resize(length);
      break;
    }
    path.resize(path.size() * 2);
  }
  return path.substr(0, path.find_last_of(L"\\/") + 1) + L"sim";
}

// One write per line on an append-only handle: the system appends each write whole, so lines
// of several threads or processes never interleave. Opened per line, so every line is on disk
// by the time the call that wrote it returns.
void AppendToJournal(const JournalLine& line) {
  LastErrorKeeper keep;  // the host may read its own last error after calling us
  const int64_t now_ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                             std::chrono::system_clock::now().time_since_epoch())
                             .count();
  const std::string text = line.Text(now_ms, GetCurrentProcessId());
  std::lock_guard<std::mutex> lock(g_journal_mutex);
  UniqueFileHandle file(CreateFileW((SimDirectory() + L"\\journal.jsonl").c_str(), FILE_APPEND_DATA,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  if (file) WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

void JournalFailure(const std::string& message) {
  JournalLine line("failure");
  AppendToJournal(line.Add("message", message));
}

int32_t JournalCall(const char* call, int32_t result) {
  JournalLine line("call");
  AppendToJournal(line.Add("call", call).Add("result", result));
  return result;
}

// kSimOk, or kSimScenarioMissing / kSimScenarioInvalid with the reason in the journal.
int32_t LoadScenario(Scenario* scenario) {
  const std::wstring path = SimDirectory() + L"\\scenario.json";
  UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    const DWORD error = GetLastError();
    JournalFailure("cannot open " + ToUtf8(path) + ": error " + std::to_string(error));
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? kSimScenarioMissing
                                                                          : kSimScenarioInvalid;
  }
  std::string text;
  char buffer[16384];
  DWORD read = 0;
  while (ReadFile(file.get(), buffer, sizeof(buffer), &read, nullptr) && read > 0) {
    text.append(buffer, read);
  }
  if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);  // editors' byte order mark
  std::string error;
  if (!Scenario::Parse(text, scenario, &error)) {
    JournalFailure(ToUtf8(path) + ": " + error);
    return kSimScenarioInvalid;
  }
  return kSimOk;
}

// No exception may cross into the host.
template <typename F>
int32_t Guarded(const char* operation, F body) {
  try {
    return body();
  } catch (const std::exception& e) {
    JournalFailure(std::string(operation) + ": " + e.what());
  } catch (...) {
    JournalFailure(std::string(operation) + ": unexpected exception");
  }
  return kSimOutOfMemory;
}

template <int kSlot>
int32_t Unused(InstanceObject*) {
  JournalFailure("the host called unused slot " + std::to_string(kSlot) +
                 " of the table of operations");
  return kSimInvalidFunction;
}

int32_t Run(InstanceObject* self, const char* request, const char* request_id) {
  return Guarded("Run", [&] { return self->instance->Run(request, request_id); });
}

int32_t RegisterNotifications(InstanceObject* self, const Registration* record, uint64_t* cookie) {
  return Guarded("RegisterNotifications",
                 [&] { return self->instance->RegisterNotifications(record, cookie); });
}

int32_t UnregisterNotifications(InstanceObject* self, const Registration* record) {
  return Guarded("UnregisterNotifications",
                 [&] { return self->instance->UnregisterNotifications(record); });
}

const OperationTable kOperations = {
    {&Unused<0>, &Unused<1>, &Unused<2>}, &Run, &RegisterNotifications, &UnregisterNotifications};

}  // namespace
}  // namespace tarn::sim

using tarn::sim::InstanceObject;

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) tarn::sim::g_module = module;
  return TRUE;
}

// `reserved` must be 0, as the host always passes it.
extern "C" __declspec(dllexport) int32_t OXSDK_GetInstance(void** instance, int32_t reserved) {
  using namespace tarn::sim;
  return Guarded("OXSDK_GetInstance", [&] {
    if (instance == nullptr || reserved != 0) {
      JournalFailure("OXSDK_GetInstance: null instance pointer or non-zero second argument " +
                     std::to_string(reserved));
      return JournalCall("OXSDK_GetInstance", kSimInvalidParameter);
    }
    *instance = nullptr;
    Scenario scenario;
    int32_t result = LoadScenario(&scenario);
    if (result == kSimOk) result = scenario.get_instance_result();
    if (result == kSimOk) {
      *instance =
          new InstanceObject{&kOperations, new Instance(std::move(scenario), AppendToJournal)};
    }
    return JournalCall("OXSDK_GetInstance", result);
  });
}

// Joins every thread of the instance before it returns: the host unloads the library next.
extern "C" __declspec(dllexport) int32_t OXSDK_ReleaseInstance(void* instance) {
  using namespace tarn::sim;
  return Guarded("OXSDK_ReleaseInstance", [&] {
    if (instance == nullptr) return JournalCall("OXSDK_ReleaseInstance", kSimInvalidParameter);
    auto* object = static_cast<InstanceObject*>(instance);
    delete object->instance;
    delete object;
    return JournalCall("OXSDK_ReleaseInstance", kSimOk);
  });
}
