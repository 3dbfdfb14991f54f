// One handler per command word. A handler reads ArgumentList/ArgumentCount, runs its operation,
// prints ResultText and returns the result code, which becomes the exit code.
#pragma once

#include <cstdint>

namespace tarn {

// System facts (app/system_handlers.cc).
uint32_t HandleCheckIs64BitOs();
uint32_t HandleCheckIfLegacyVersion();
uint32_t HandleGetVersion();

}  // namespace tarn
