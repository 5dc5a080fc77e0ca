// What the session endpoints do to this machine.
#pragma once

#include "http/app_state.h"

namespace vorda {

// server must live as long as the process.
SessionActions makeSessionActions(ServerState& server);

} // namespace vorda
