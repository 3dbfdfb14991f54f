// What the JSON targets share: an input taken as the one JSON object the agent's output always is.
#pragma once

#include <rapidjson/document.h>

#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_check.h"

namespace tarn {

// Parsed iteratively, so the input's depth costs the target no stack. Any other root is refused:
// the session hands the walks objects only (another root trips the JSON library's assertion).
inline bool ParseObject(const uint8_t* data, size_t size, rapidjson::Document& document) {
  document.Parse<rapidjson::kParseIterativeFlag>(reinterpret_cast<const char*>(data), size);
  return !document.HasParseError() && document.IsObject();
}

}  // namespace tarn
