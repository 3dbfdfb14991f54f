// The signed time message decoder on arbitrary input.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "auth/auth_messages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<uint8_t> bytes(data, data + size);
  tarn::SignedTimeMessage message;
  if (tarn::DecodeSignedTimeMessage(message, bytes, nullptr) == 0) {
    if (message.signature.empty() || message.messageBytes.empty() ||
        std::search(bytes.begin(), bytes.end(), message.messageBytes.begin(),
                    message.messageBytes.end()) == bytes.end()) {
      std::abort();
    }
  }
  return 0;
}
