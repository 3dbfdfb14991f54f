// What the layers below may not take from each other, handed over here. The SDK session (agent/)
// proves its library with the module signature check (auth/); the authorization gate (auth/)
// learns the endpoint's identity from the agent bridge (agent/). The session serves many
// operations, so it gets its check once, at start-up; the gate runs once per process and gets the
// identity with its call.
#pragma once

#include "auth/authorization_gate.h"

namespace tarn {

// Before any command runs: the session's check is the maker's signature on the module.
void WireModuleCheck();

// The agent bridge's identity functions, for the gate.
IdentityServices EndpointIdentityServices();

}  // namespace tarn
