#include "app/agent_key.h"

#include <string_view>

namespace vorda {

namespace {

// Without I, O, 0 and 1. The 32 symbols are equally likely for five random bits.
constexpr std::wstring_view kSymbols = L"ABCDEFGHJKLMNPQRSTUVWXYZ23456789";
constexpr unsigned kFiveBits = 0x1F;
static_assert(kSymbols.size() == kFiveBits + 1);

} // namespace

std::wstring agentKeyFrom(const std::array<std::uint8_t, kAgentKeyLength>& random) {
  std::wstring key;
  for (const std::uint8_t byte : random) key += kSymbols[byte & kFiveBits];
  return key;
}

} // namespace vorda
