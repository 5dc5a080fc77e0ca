// Asks copies of this program that serve on this machine to quit.
#pragma once

#include <cstdint>

namespace vorda {

// Sends the request to this number of ports of the loopback address, from firstPort upwards.
// Returns how many copies accepted. Takes about 400 ms at most for each step of a connection.
unsigned sendQuitRequests(std::uint32_t firstPort, unsigned ports);

} // namespace vorda
