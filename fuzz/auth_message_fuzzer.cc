// The signed authorization message decoder on arbitrary input.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "auth/auth_messages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<uint8_t> bytes(data, data + size);
  tarn::SignedAuthMessage message;
  if (tarn::DecodeSignedAuthMessage(message, bytes, nullptr) == 0) {
    // What the signature check relies on: both parts present, the signed bytes taken as they
    // stand from the input.
    if (message.signature.empty() || message.messageBytes.empty() ||
        std::search(bytes.begin(), bytes.end(), message.messageBytes.begin(),
                    message.messageBytes.end()) == bytes.end()) {
      std::abort();
    }
  }
  return 0;
}
