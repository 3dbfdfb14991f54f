// The signed authorization message decoder on arbitrary input.
#include <cstddef>
#include <cstdint>

#include "auth/auth_messages.h"
#include "fuzz/fuzz_signed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using tarn::SignedAuthMessage;
  tarn::CheckSignedMessage<SignedAuthMessage>(
      data, size, tarn::DecodeSignedAuthMessage,
      [](const SignedAuthMessage& a, const SignedAuthMessage& b) {
        return a.validFrom == b.validFrom && a.validTo == b.validTo &&
               a.permissions == b.permissions && a.identifiers == b.identifiers;
      });
  return 0;
}
