#include "app/agent_key.h"

#include <doctest/doctest.h>

#include <set>

using namespace vorda;

TEST_CASE("every symbol of a key is equally likely") {
  std::set<wchar_t> symbols;
  std::array<std::uint8_t, kAgentKeyLength> random{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    random.back() = static_cast<std::uint8_t>(byte);
    const std::wstring key = agentKeyFrom(random);
    REQUIRE(key.size() == 20);
    CHECK(key.substr(0, 19) == std::wstring(19, L'A'));
    symbols.insert(key.back());
    random.back() = static_cast<std::uint8_t>(byte % 32); // only five bits count
    CHECK(agentKeyFrom(random) == key);
  }
  CHECK(std::wstring(symbols.begin(), symbols.end()) == L"23456789ABCDEFGHJKLMNPQRSTUVWXYZ");
}
