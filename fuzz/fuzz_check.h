// A failed check aborts, which libFuzzer reports with the input that failed it.
#pragma once

#include <cstdlib>

namespace tarn {

inline void Require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace tarn
