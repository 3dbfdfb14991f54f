// The one request the module signature check puts to WinVerifyTrust: an Authenticode file, no
// user interface, the revocation of the whole chain from cached data only. The bench's floor and
// the test bed's own checks ask exactly this, so it is written once, here, header-only so that
// they need none of the tool's libraries.
#pragma once

#include <windows.h>
// clang-format off
#include <wincrypt.h>
#include <wintrust.h>
#include <softpub.h>
// clang-format on

#include <string>
#include <utility>

namespace tarn {

class TrustRequest {
 public:
  explicit TrustRequest(std::wstring path) : path_(std::move(path)) {
    file_.cbStruct = sizeof file_;
    file_.pcwszFilePath = path_.c_str();
    data_.cbStruct = sizeof data_;
    data_.dwUIChoice = WTD_UI_NONE;
    data_.fdwRevocationChecks = WTD_REVOKE_WHOLECHAIN;
    data_.dwUnionChoice = WTD_CHOICE_FILE;
    data_.pFile = &file_;
    data_.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;
  }
  // A verification whose state was never closed (a failed one, too) is closed here, on every
  // path, leaving the thread's last error as it was.
  ~TrustRequest() {
    if (data_.hWVTStateData == nullptr) return;
    const DWORD lastError = GetLastError();
    Close();
    SetLastError(lastError);
  }
  TrustRequest(const TrustRequest&) = delete;
  TrustRequest& operator=(const TrustRequest&) = delete;

  LONG Verify() { return Run(WTD_STATEACTION_VERIFY); }
  // Releases the state Verify left, whatever Verify answered.
  LONG Close() {
    const LONG result = Run(WTD_STATEACTION_CLOSE);
    data_.hWVTStateData = nullptr;
    return result;
  }
  HANDLE state() const { return data_.hWVTStateData; }

 private:
  LONG Run(DWORD stateAction) {
    data_.dwStateAction = stateAction;
    return WinVerifyTrust(nullptr, &action_, &data_);
  }

  GUID action_ = WINTRUST_ACTION_GENERIC_VERIFY_V2;
  std::wstring path_;
  WINTRUST_FILE_INFO file_{};
  WINTRUST_DATA data_{};
};

}  // namespace tarn
