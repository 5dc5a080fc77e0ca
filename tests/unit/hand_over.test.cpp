#include "update/hand_over.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("a list is fresh for an hour") {
  constexpr std::uint64_t kNow = 133'000'000'000'000'000;
  constexpr std::uint64_t kMinute = 600'000'000;
  const auto fresh = [](std::uint64_t written) { return isFresh({{}, {}, written}, kNow); };
  CHECK((fresh(kNow) && fresh(kNow - 60 * kMinute + 1)));
  CHECK_FALSE((fresh(kNow - 60 * kMinute) || fresh(kNow + 1) || fresh(0) || fresh(~0ULL)));
  // Adding an agent does not revive an old list.
  HandOver list = withAgent({{L"old"}, {L"old line"}, kNow - 61 * kMinute}, L"a", kNow);
  list = withAgent(withAgent(list, L"b", kNow + kMinute), L"a", kNow + 2 * kMinute);
  CHECK(list.agents == std::vector<std::wstring>{L"a", L"b"});
  CHECK(list.log.size() == 3);
  CHECK(list.written == kNow + 2 * kMinute);
}
