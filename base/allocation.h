// Allocation that reports failure instead of throwing, for the steps whose failure has its own
// log line and code (8).
#pragma once

#include <cstddef>
#include <new>

namespace tarn {

/// Resizes `buffer` to `size` elements; false when memory ran out (the buffer is then unchanged).
template <typename Container>
bool TryResize(Container& buffer, size_t size) {
  try {
    buffer.resize(size);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace tarn
