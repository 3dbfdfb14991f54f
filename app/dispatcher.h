#pragma once

#include <cstdint>

namespace tarn {

struct StartupSettings;

// Runs the one command of this process: logging switch, authorization gate, command lookup,
// handler. Nothing thrown by a handler escapes.
/// The exit code: the gate's code, 12 when it refused, 160 for an unknown word or a throw, else
/// the handler's code.
[[nodiscard]] uint32_t Dispatch(const StartupSettings& settings);

}  // namespace tarn
