#include "update/hand_over.h"

#include <doctest/doctest.h>

using namespace vorda;

constexpr std::uint64_t kNow = 133'000'000'000'000'000;
constexpr std::uint64_t kMinute = 600'000'000;

TEST_CASE("a list is fresh for an hour") {
  const auto fresh = [](std::uint64_t written) { return isFresh({{}, {}, written}, kNow); };
  CHECK((fresh(kNow) && fresh(kNow - 60 * kMinute + 1)));
  CHECK_FALSE((fresh(kNow - 60 * kMinute) || fresh(kNow + 1) || fresh(0) || fresh(~0ULL)));
  HandOver list = withAgent({{L"old"}, {L"old line"}, kNow - 61 * kMinute}, L"a", kNow);
  list = withAgent(withAgent(list, L"b", kNow + kMinute), L"a", kNow + 2 * kMinute);
  CHECK(list.agents == std::vector<std::wstring>{L"a", L"b"});
  CHECK(list.log.size() == 3);
  CHECK(list.written == kNow + 2 * kMinute);
}

TEST_CASE("each folder has its own list") {
  constexpr std::uint64_t kHour = 60 * kMinute;
  const auto agentsOf = [](const HandOvers& lists, const wchar_t* folder) {
    const std::vector<std::wstring> agents = listOf(lists, folder, kNow).agents;
    return agents.empty() ? std::wstring(L"-") : agents.front();
  };
  HandOvers lists = withList({}, {{L"old a"}, {}, kNow, L"C:\\a"}, kNow);
  lists = withList(lists, {{L"b"}, {}, kNow, L"C:\\b"}, kNow);
  lists = withList(lists, {{L"a"}, {}, kNow, L"c:\\A"}, kNow);
  CHECK(lists.size() == 2);
  CHECK(lists.front().folder == L"c:\\A");
  CHECK(agentsOf(lists, L"C:\\a") == L"a");
  CHECK(agentsOf(lists, L"C:\\B") == L"b");
  CHECK(agentsOf(lists, L"C:\\ab") == L"-");
  CHECK(agentsOf(withoutList(lists, L"C:\\a", kNow), L"C:\\a") == L"-");
  CHECK(agentsOf(withoutList(lists, L"C:\\a", kNow), L"C:\\b") == L"b");
  CHECK(withoutList(lists, L"C:\\x", kNow + kHour).empty());
  // A list of an earlier version names no folder; it is used, and replaced, by the next step.
  lists.insert(lists.begin(), {{L"any"}, {}, kNow, L""});
  CHECK(agentsOf(lists, L"C:\\a") == L"any");
  lists.front().written = kNow - kHour;
  CHECK(agentsOf(lists, L"C:\\a") == L"a");
  CHECK(agentsOf({lists.front()}, L"C:\\a") == L"any"); // and then refused as too old
  CHECK(withList(lists, {{L"c"}, {}, kNow, L"C:\\c"}, kNow).size() == 3);
}
