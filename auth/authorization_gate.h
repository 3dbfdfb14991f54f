// The authorization gate: decides before any handler runs whether the command may run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {

// Returns 0 when a verdict was reached (it is in `authorized`), or a code that ends the process.
// Takes the authorization options out of `arguments`, lowering `argumentCount` by 2 per pair.
uint32_t ValidateAuthorization(bool& authorized, bool& authorizationServiceUsed,
                               std::vector<std::wstring>& arguments, int32_t& argumentCount);

}  // namespace tarn
