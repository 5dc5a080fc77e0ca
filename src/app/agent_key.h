// The key that a browser must present to an agent on another machine, made for people to
// type: no two of its symbols are taken for one another.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace vorda {

inline constexpr std::size_t kAgentKeyLength = 20;

// One symbol for each random byte.
std::wstring agentKeyFrom(const std::array<std::uint8_t, kAgentKeyLength>& random);

} // namespace vorda
