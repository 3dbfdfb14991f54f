// Proof that a module of the maker's is what it claims before it is loaded or run: a valid
// Authenticode signature, time-stamped, by a signing certificate with the expected common name.
#pragma once

#include <cstdint>
#include <string>

namespace tarn {

class Logger;

// The platform's trust verification of one file, one step per call, as the check walks it.
// The Windows implementation wraps WinVerifyTrust and the WTHelper functions; tests fabricate
// the answers.
class TrustVerification {
 public:
  virtual ~TrustVerification() = default;
  /// The verify call's answer: 0 when trusted, else the trust error (the state stays open).
  [[nodiscard]] virtual int32_t Verify(const std::wstring& filePath) = 0;
  virtual bool ProviderData() = 0;
  virtual bool PrimarySigner() = 0;
  virtual uint32_t CounterSignerCount() = 0;
  // Whether counter-signer `index` of the primary signer exists and is a time stamp.
  virtual bool CounterSignerIsTimestamp(uint32_t index) = 0;
  virtual bool SigningCertificate() = 0;
  // The signing certificate's subject common name, terminating null included.
  virtual std::wstring SigningCertificateCommonName(Logger* log) = 0;
  // Closes the verification state.
  /// The thread's last error afterwards, whatever the close did.
  [[nodiscard]] virtual uint32_t Close() = 0;
  /// The thread's last error now.
  [[nodiscard]] virtual uint32_t LastError() = 0;
};

// Checks `filePath`; `isValid` is true only when everything holds. Some failures report the last
// error after closing, which may be 0, so callers must check both.
/// 0, the trust error, the last error, 5007, 4316 or 1168; `isValid` false on every failure.
[[nodiscard]] uint32_t ValidateModuleSignature(bool& isValid, const std::wstring& filePath,
                                               const std::wstring& expectedSubject, Logger* log);
/// As above, with the platform's verification given.
[[nodiscard]] uint32_t ValidateModuleSignature(TrustVerification& trust, bool& isValid,
                                               const std::wstring& filePath,
                                               const std::wstring& expectedSubject, Logger* log);

// The signer name every module of the maker carries.
inline constexpr const wchar_t* kMakerSigner = L"Arvantis SRL";

}  // namespace tarn
