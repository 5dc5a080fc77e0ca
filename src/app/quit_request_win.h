// Asking copies of this program that listen on this machine to end.
#pragma once

#include <cstdint>

namespace vorda {

// Sends the request to so many ports from the first on. Returns how many answered that
// they will.
unsigned sendQuitRequests(std::uint32_t firstPort, unsigned ports);

} // namespace vorda
