// Whether somebody serves a port of this machine.
#pragma once

#include <cstdint>

namespace vorda {

// True if a program accepts a connection to the port on the loopback address within a third of a
// second. Winsock must have been started.
bool portInUse(std::uint16_t port);

} // namespace vorda
