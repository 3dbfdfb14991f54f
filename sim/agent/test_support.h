// Shared by the simulator's tests: the build tree's kit, and base/'s TempDir for a private folder.
// A stand-in program is started with the tool's own RunProcess, as the tool starts its children.
#pragma once

#include <windows.h>

#include "base/test_temp_dir.h"
#include "sim/agent/sim_control.h"
#include "sim/agent/sim_files.h"

namespace tarn::sim::testing {

// The kit of the build tree that holds the test program.
inline Kit BuildKit() { return KitOfBuildTree(ModuleDirectory(nullptr)); }

}  // namespace tarn::sim::testing
