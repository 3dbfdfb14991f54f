#include "auth/module_signature.h"

#include <string_view>

#include "base/log.h"
#include "base/result_codes.h"

namespace tarn {
namespace {

// The name is compared whole and case-sensitively. It may end in its terminating null (the
// platform's count includes it), but a null inside it ("Arvantis SRL\0...") does not cut the
// comparison short, as a comparison up to the first null would.
bool SignerNameMatches(std::wstring_view subject, std::wstring_view expected) {
  if (!subject.empty() && subject.back() == L'\0') subject.remove_suffix(1);
  return !subject.empty() && subject == expected;
}

}  // namespace

uint32_t ValidateModuleSignature(TrustVerification& trust, bool& isValid,
                                 const std::wstring& filePath, const std::wstring& expectedSubject,
                                 Logger* log) {
  isValid = false;
  WriteLog(log, L"Validate binary for " + filePath);
  WriteLog(log, L"Verify trust");
  const int32_t trustResult = trust.Verify(filePath);
  if (trustResult != 0) {
    // Trust errors have the high bit set and are logged as negative numbers.
    WriteLog(log, L"Failed to verify trust. Error code: " + std::to_wstring(trustResult));
    return static_cast<uint32_t>(trustResult);
  }

  auto close = [&] {
    const uint32_t code = trust.Close();
    WriteLog(log, L"Verify trust finished. Exit code: " + std::to_wstring(code));
    return code;
  };
  auto failWithLastError = [&](const wchar_t* message) {
    WriteLog(log, message + std::to_wstring(trust.LastError()));
    return close();
  };

  WriteLog(log, L"Get provider data from state data");
  if (!trust.ProviderData()) {
    return failWithLastError(L"Failed to retrieve provider data. Error code: ");
  }
  WriteLog(log, L"Finished to retrieve provider data");
  WriteLog(log, L"Get provider signer from chain");
  if (!trust.PrimarySigner()) {
    return failWithLastError(L"Failed to retrieve provider signer from chain. Error code: ");
  }
  WriteLog(log, L"Finished retrieving provider signer from chain");
  const uint32_t counterSigners = trust.CounterSignerCount();
  if (counterSigners == 0) {
    WriteLog(log, L"There are no provider signers");
    close();
    return kErrorNoCounterSigners;
  }

  WriteLog(log, L"Finding signer");
  bool timestamped = false;
  for (uint32_t index = 0; index < counterSigners && !timestamped; ++index) {
    timestamped = trust.CounterSignerIsTimestamp(index);
  }
  if (!timestamped) {
    WriteLog(log, L"Signer not found");
    close();
    return kErrorNoTimestampSigner;
  }
  WriteLog(log, L"Signer found");

  WriteLog(log, L"Get provider certificate from chain");
  if (!trust.SigningCertificate()) {
    return failWithLastError(L"Provider certificate not found. Error code: ");
  }
  WriteLog(log, L"Finished retrieving the provider certificate");
  WriteLog(log, L"Get certificate subject");
  const std::wstring subject = trust.SigningCertificateCommonName(log);
  if (SignerNameMatches(subject, expectedSubject)) {
    close();
    isValid = true;
    WriteLog(log, L"Binary is valid");
    return 0;
  }
  WriteLog(log, L"Certificate subject not found");
  close();
  return kErrorSubjectMismatch;
}

}  // namespace tarn
