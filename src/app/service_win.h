// Runs as a Windows service.
#pragma once

#include "fileops/running_operations.h"
#include "http/server.h"

#include <cstdint>

namespace vorda {

// Serves the network on this port until the service is stopped. If the port is invalid or in
// use, the service stops at once. False if the service manager did not start this process.
bool runService(ServerState& server, RunningOperations& operations, std::int32_t port);

} // namespace vorda
