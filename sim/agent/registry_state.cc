#include "sim/agent/registry_state.h"

#include "base/win_handles.h"
#include "sim/agent/agent_layout.h"

namespace tarn::sim {
namespace {

// Where the security service's key waits while it is "deleted".
constexpr wchar_t kSavedKeyParent[] = L"SOFTWARE\\Arvantis\\TARN Simulator";
constexpr wchar_t kSavedKey[] = L"SOFTWARE\\Arvantis\\TARN Simulator\\OXSecurityService";

REGSAM ViewFlag(RegistryView view) {
  return view == RegistryView::k64Bit ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;
}

uint32_t Absent(LSTATUS status) {
  return status == ERROR_FILE_NOT_FOUND ? 0 : static_cast<uint32_t>(status);
}

// Copies `from` (which must exist) to a fresh `to`.
uint32_t CopyKey(const wchar_t* from, const wchar_t* to) {
  UniqueHkey source;
  if (LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, from, 0, KEY_READ, source.put())) {
    return status;
  }
  if (uint32_t code = Absent(RegDeleteTreeW(HKEY_LOCAL_MACHINE, to))) return code;
  UniqueHkey target;
  if (LSTATUS status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, to, 0, nullptr, 0, KEY_ALL_ACCESS,
                                       nullptr, target.put(), nullptr)) {
    return status;
  }
  return RegCopyTreeW(source.get(), nullptr, target.get());
}

}  // namespace

uint32_t SetRebootMarker(RegistryView view) {
  UniqueHkey key;
  return RegCreateKeyExW(HKEY_LOCAL_MACHINE, kRebootMarkerKey, 0, nullptr, 0,
                         KEY_ALL_ACCESS | ViewFlag(view), nullptr, key.put(), nullptr);
}

uint32_t ClearRebootMarker() {
  for (RegistryView view : {RegistryView::k64Bit, RegistryView::k32Bit}) {
    if (uint32_t code =
            Absent(RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kRebootMarkerKey, ViewFlag(view), 0))) {
      return code;
    }
  }
  return 0;
}

uint32_t QueryRebootMarker(RegistryView view, bool* present) {
  UniqueHkey key;
  const LSTATUS status =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, kRebootMarkerKey, 0, KEY_READ | ViewFlag(view), key.put());
  if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) return status;
  *present = status == ERROR_SUCCESS;
  return 0;
}

uint32_t DeleteSecurityServiceKey() {
  if (uint32_t code = CopyKey(kSecurityServiceKey, kSavedKey)) return code;
  return RegDeleteTreeW(HKEY_LOCAL_MACHINE, kSecurityServiceKey);
}

uint32_t RestoreSecurityServiceKey() {
  if (uint32_t code = CopyKey(kSavedKey, kSecurityServiceKey)) return code;
  return DropSavedSecurityServiceKey();
}

uint32_t DropSavedSecurityServiceKey() {
  return Absent(RegDeleteTreeW(HKEY_LOCAL_MACHINE, kSavedKeyParent));
}

}  // namespace tarn::sim
