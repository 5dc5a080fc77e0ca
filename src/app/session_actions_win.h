// What the session endpoints of the API do on this machine.
#pragma once

#include "api/app_state.h"

namespace vorda {

// state must live until the process exits.
SessionActions makeSessionActions(AppState& state);

} // namespace vorda
