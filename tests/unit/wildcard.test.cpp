#include "base/text.h"
#include "base/wildcard.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;

TEST_CASE("wildcard patterns") {
  const std::wstring emoji = {wchar_t{0xD83D}, wchar_t{0xDE00}};
  struct Row {
    std::wstring pattern, name;
    bool matches;
  };
  for (const Row& row : std::vector<Row>{{L"*", L"", true},
                                         {L"", L"", true},
                                         {L"", L"a", false},
                                         {L"*.jpg", L"Photo.JPG", true},
                                         {L"a*b*c", L"aXbXbXc", true},
                                         {L"a*b*c", L"aXbXbX", false},
                                         {L"a?c", L"abc", true},
                                         {L"a?c", L"ac", false},
                                         {L"x?y", L"x" + emoji + L"y", true},
                                         {L"?", emoji, true},
                                         {L"??", emoji, false},
                                         {L"*?", L"", false},
                                         {L"a**", L"a", true}}) {
    CAPTURE(toUtf8(row.pattern));
    CAPTURE(toUtf8(row.name));
    CHECK(matchesWildcard(row.pattern, row.name) == row.matches);
  }
  // Takes no exponential time with many stars.
  std::wstring stars;
  for (int i = 0; i < 50; ++i) stars += L"*a";
  CHECK_FALSE(matchesWildcard(stars + L"b", std::wstring(2000, L'a')));
}
