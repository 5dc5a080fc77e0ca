// Stops and starts the Windows service that runs the agent.
#pragma once

#include "update/installer_steps.h"

#include <optional>

namespace vorda {

// Stops the service if it runs in this process and waits up to ten seconds for its end.
// Returns whether the service manager accepted the request, or nothing if the service is known
// to run in another process.
std::optional<bool> stopAgentService(std::uint32_t processId);

// Starts the service without waiting for it to be ready.
ServiceStart startAgentService();

} // namespace vorda
