// The modes that serve the page or a remote browser, and the key they ask for.
#pragma once

#include "api/app_state.h"
#include "app/command_line.h"

namespace vorda {

// Interactive, agent, server or service, as the options say, until it is ended. Returns
// the exit code. The state must be complete but for its flags and key.
int serve(AppState& state, const CommandLineOptions& options);

// --show-key. Returns the exit code.
int showAgentKey();

} // namespace vorda
