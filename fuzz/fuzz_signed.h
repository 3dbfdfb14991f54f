// What the two signed-message targets check of every message that decodes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/fuzz_check.h"

namespace tarn {

class Logger;

template <typename Message>
using SignedDecoder = uint32_t (*)(Message&, const std::vector<uint8_t>&, Logger*);

// Both parts are present and the signed bytes are taken as they stand from the input. What was
// decoded lies inside the signed bytes: a new root with another signature around them decodes to
// the same record, so nothing came from the signature or beyond.
template <typename Message>
void CheckSignedMessage(const uint8_t* data, size_t size, SignedDecoder<Message> decode,
                        bool (*sameRecord)(const Message&, const Message&)) {
  const std::vector<uint8_t> bytes(data, data + size);
  Message message;
  if (decode(message, bytes, nullptr) != 0) return;
  Require(!message.signature.empty() && !message.messageBytes.empty() &&
          std::search(bytes.begin(), bytes.end(), message.messageBytes.begin(),
                      message.messageBytes.end()) != bytes.end());
  std::vector<uint8_t> rewrapped = {0x30, 0x80};  // indefinite: no length to compute
  rewrapped.insert(rewrapped.end(), message.messageBytes.begin(), message.messageBytes.end());
  rewrapped.insert(rewrapped.end(), {0x04, 0x01, 0x5A, 0x00, 0x00});
  Message alone;
  Require(decode(alone, rewrapped, nullptr) == 0 && sameRecord(message, alone) &&
          alone.messageBytes == message.messageBytes);
}

}  // namespace tarn
