// Every result code the tool names, one name per value. Functions return 0 for success, these,
// or a Windows error code passed through unchanged (the *_win.cc files may call the latter by
// their Windows names; the platform-free code, which also builds natively, uses these).
#pragma once

#include <cstdint>

namespace tarn {

// Agent not installed, file or key missing; BER data ending before its node does.
inline constexpr uint32_t kErrorFileNotFound = 2;
// Malformed JSON reply, event or answer; BER nested deeper than the reader goes.
inline constexpr uint32_t kErrorMalformed = 3;
// Feature editing without authorization.
inline constexpr uint32_t kErrorAccessDenied = 5;
inline constexpr uint32_t kErrorNotEnoughMemory = 8;
// Refused by the authorization gate.
inline constexpr uint32_t kResultNotAuthorized = 12;
// Expected value or field absent; an installer XML that is not XML or lacks what an edit needs.
inline constexpr uint32_t kErrorInvalidData = 13;
// A file could not be written (the installer XML saved over itself).
inline constexpr uint32_t kErrorWriteFault = 29;
// The authorization names another endpoint.
inline constexpr uint32_t kErrorIdentifierNotMatched = 20;
// No identity: the agent was not asked.
inline constexpr uint32_t kResultAgentNotAsked = 30;
// The SDK did not accept a request.
inline constexpr uint32_t kErrorRequestRefused = 50;
// Authorization options: one given twice, some missing, the certificate file unreadable.
inline constexpr uint32_t kErrorOptionRepeated = 85;
inline constexpr uint32_t kErrorOptionsIncomplete = 87;
inline constexpr uint32_t kErrorCertificateFileUnreadable = 110;
// The SDK library cannot be loaded.
inline constexpr uint32_t kErrorModNotFound = 126;
// Bad arguments or unknown command.
inline constexpr uint32_t kErrorBadArguments = 160;
inline constexpr uint32_t kResultAlreadyInstalled = 183;
// SDK instance or callback registration failed.
inline constexpr uint32_t kErrorSdkInstance = 775;
// Configuration file in UTF-32.
inline constexpr uint32_t kErrorUnsupportedEncoding = 1006;
// A module signed, but not by the maker.
inline constexpr uint32_t kErrorSubjectMismatch = 1168;
// The module check returned 0, yet the module is not valid.
inline constexpr uint32_t kErrorNotValidlySigned = 1403;
inline constexpr uint32_t kErrorTimeout = 1460;
// A reply without a usable "error" or "output".
inline constexpr uint32_t kErrorNoUsableReply = 1804;
inline constexpr uint32_t kResultRebootRequired = 3017;
// A module's signature without a time stamp, or without any counter-signer.
inline constexpr uint32_t kErrorNoTimestampSigner = 4316;
inline constexpr uint32_t kErrorNoCounterSigners = 5007;
// The agent reported that an on-demand scan failed to start.
inline constexpr uint32_t kResultScanFailed = 5023;
// The preset answer of uninstall.
inline constexpr uint32_t kResultUninstallPreset = 16010;
// Authorization messages: a wrong tag, a wrong number of children, a number that is negative or
// beyond 32 bits, empty contents.
inline constexpr uint32_t kErrorWrongTag = 18000;
inline constexpr uint32_t kErrorWrongChildCount = 18001;
inline constexpr uint32_t kErrorNumberOutOfRange = 18002;
inline constexpr uint32_t kErrorEmptyValue = 18003;

}  // namespace tarn
