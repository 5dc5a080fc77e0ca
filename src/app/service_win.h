// Running under the service manager.
#pragma once

#include "http/server.h"

#include <cstdint>

namespace vorda {

// Connects this process to the service manager and serves the whole network on the port
// until the service is stopped. False when the service manager did not start us.
bool runService(ServerState& server, std::int32_t port);

} // namespace vorda
