// What the session endpoints of the API do on this machine.
#pragma once

#include "api/app_state.h"

namespace vorda {

// Both must live until the process exits.
SessionActions makeSessionActions(ServerState& server, const RunningOperations& operations);

} // namespace vorda
