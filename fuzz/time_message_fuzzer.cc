// The signed time message decoder on arbitrary input.
#include <cstddef>
#include <cstdint>

#include "auth/auth_messages.h"
#include "fuzz/fuzz_signed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using tarn::SignedTimeMessage;
  tarn::CheckSignedMessage<SignedTimeMessage>(
      data, size, tarn::DecodeSignedTimeMessage,
      [](const SignedTimeMessage& a, const SignedTimeMessage& b) {
        return a.challenge == b.challenge && a.executionTime == b.executionTime;
      });
  return 0;
}
