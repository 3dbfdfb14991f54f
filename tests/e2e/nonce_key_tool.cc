// nonce-key.exe: prints the access list of the authorization nonce key, then opens it up.
//
// The tool protects the key with an access list under which Windows still lets its owner read
// the nonce, but Wine 8.0 refuses the tool's own read (it stops at the deny-write entry for
// Authenticated Users). The end-to-end tests use this program, in the test prefix only, after
// checking that the list was set as required.
#include <windows.h>
#include <sddl.h>

#include <cstdio>
#include <vector>

#include "base/win_handles.h"

int wmain() {
  tarn::UniqueHkey key;
  LONG status = RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\ArvantisAuthService", 0,
                              READ_CONTROL | WRITE_DAC, key.put());
  if (status != ERROR_SUCCESS) {
    std::fprintf(stderr, "nonce-key: cannot open the key: %ld\n", status);
    return 1;
  }
  DWORD size = 0;
  RegGetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, nullptr, &size);
  std::vector<BYTE> descriptor(size);
  status = RegGetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, descriptor.data(), &size);
  LPSTR text = nullptr;
  if (status != ERROR_SUCCESS ||
      !ConvertSecurityDescriptorToStringSecurityDescriptorA(
          descriptor.data(), SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr)) {
    std::fprintf(stderr, "nonce-key: cannot read the access list\n");
    return 1;
  }
  tarn::UniqueHlocal owned(text);
  std::printf("%s\n", text);

  PSECURITY_DESCRIPTOR open = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;OICI;KA;;;WD)",
                                                            SDDL_REVISION_1, &open, nullptr)) {
    return 1;
  }
  tarn::UniqueHlocal ownedOpen(open);
  status = RegSetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, open);
  if (status != ERROR_SUCCESS) {
    std::fprintf(stderr, "nonce-key: cannot open up the key: %ld\n", status);
    return 1;
  }
  return 0;
}
