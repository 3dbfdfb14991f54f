// nonce-key.exe: prints the access list of the authorization nonce key, then opens it up.
//
// The tool protects the key with an access list under which Windows still lets its owner read
// the nonce, but Wine 8.0 refuses the tool's own read (it stops at the deny-write entry for
// Authenticated Users). The end-to-end tests use this program, in the test prefix only, after
// checking that the list was set as required.
#include <windows.h>
// clang-format off
#include <sddl.h>
// clang-format on

#include <cstdio>
#include <vector>

#include "base/win_handles.h"

namespace {

int Fail(const char* what, long status) {
  std::fprintf(stderr, "nonce-key: %s: %ld\n", what, status);
  return 1;
}

}  // namespace

int wmain() {
  tarn::UniqueHkey key;
  LONG status = RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\ArvantisAuthService", 0,
                              READ_CONTROL | WRITE_DAC, key.put());
  if (status != ERROR_SUCCESS) return Fail("cannot open the key", status);
  DWORD size = 0;
  RegGetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, nullptr, &size);
  std::vector<BYTE> descriptor(size);
  status = RegGetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, descriptor.data(), &size);
  LPSTR text = nullptr;
  if (status != ERROR_SUCCESS ||
      !ConvertSecurityDescriptorToStringSecurityDescriptorA(
          descriptor.data(), SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr)) {
    return Fail("cannot read the access list", status);
  }
  tarn::UniqueHlocal owned(text);
  std::printf("%s\n", text);

  PSECURITY_DESCRIPTOR open = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;OICI;KA;;;WD)", SDDL_REVISION_1,
                                                            &open, nullptr)) {
    return Fail("cannot make the open access list", static_cast<long>(GetLastError()));
  }
  tarn::UniqueHlocal ownedOpen(open);
  status = RegSetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, open);
  return status == ERROR_SUCCESS ? 0 : Fail("cannot open up the key", status);
}
