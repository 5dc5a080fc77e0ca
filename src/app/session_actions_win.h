// What the session endpoints do to this machine.
#pragma once

#include "api/app_state.h"

namespace vorda {

// server must live as long as the process.
SessionActions makeSessionActions(ServerState& server);

} // namespace vorda
