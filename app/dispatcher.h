#pragma once

#include <cstdint>

namespace tarn {

struct StartupSettings;

// Runs the one command of this process: logging switch, authorization gate, command lookup,
// handler. Returns the exit code; nothing thrown by a handler escapes.
uint32_t Dispatch(const StartupSettings& settings);

}  // namespace tarn
