#include "base/wildcard.h"

#include <doctest/doctest.h>

#include <string>

using namespace vorda;

TEST_CASE("wildcard patterns") {
  const std::wstring emoji = {wchar_t{0xD83D}, wchar_t{0xDE00}};
  const std::wstring matching[][2] = {
      {L"*", L""},      {L"", L""},     {L"*.jpg", L"Photo.JPG"},      {L"a*b*c", L"aXbXbXc"},
      {L"a?c", L"abc"}, {L"a**", L"a"}, {L"x?y", L"x" + emoji + L"y"}, {L"?", emoji}};
  for (const auto& [pattern, name] : matching) CHECK(matchesWildcard(pattern, name));
  const std::wstring other[][2] = {
      {L"", L"a"}, {L"a*b*c", L"aXbXbX"}, {L"a?c", L"ac"}, {L"??", emoji}, {L"*?", L""}};
  for (const auto& [pattern, name] : other) CHECK_FALSE(matchesWildcard(pattern, name));
  // Many stars do not take exponential time.
  std::wstring stars;
  for (int i = 0; i < 50; ++i) stars += L"*a";
  CHECK_FALSE(matchesWildcard(stars + L"b", std::wstring(2000, L'a')));
}
