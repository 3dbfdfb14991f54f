// One handler per command word. A handler reads ArgumentList/ArgumentCount, runs its operation,
// prints ResultText and returns the result code, which becomes the exit code.
#pragma once

#include <cstdint>

namespace tarn {

// System facts (app/system_handlers.cc).
uint32_t HandleCheckIs64BitOs();
uint32_t HandleCheckIfLegacyVersion();
uint32_t HandleGetVersion();
uint32_t HandleCheckIfRebootRequired();

// Product status and update health (app/status_handlers.cc).
uint32_t HandleHasCriticalIssues();
uint32_t HandleGetUpdateLocations();
uint32_t HandleGetProductVersion();
uint32_t HandleGetLastUpdate();
uint32_t HandleGetFeatureStatus();
uint32_t HandleCheckForUpdateErrors();
uint32_t HandleGetUpdateStatus();
uint32_t HandleIsUpToDate();

// Authorization challenge (app/challenge_handler.cc).
uint32_t HandleGetChallenge();

}  // namespace tarn
