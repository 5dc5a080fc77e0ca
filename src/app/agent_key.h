// The key that a browser must send to an agent on another machine. People type it, so it contains
// no symbols that look alike.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace vorda {

inline constexpr std::size_t kAgentKeyLength = 20;

// Makes a key with one symbol for each random byte.
std::wstring agentKeyFrom(const std::array<std::uint8_t, kAgentKeyLength>& random);

} // namespace vorda
