#include "base/wildcard.h"

#include "base/text.h"

#include <algorithm>

namespace vorda {

namespace {

bool sameUnit(wchar_t a, wchar_t b) { return a == b || upperUnit(a) == upperUnit(b); }

std::size_t characterLength(std::wstring_view text, std::size_t at) {
  const bool pair =
      isHighSurrogate(text[at]) && at + 1 < text.size() && isLowSurrogate(text[at + 1]);
  return pair ? 2 : 1;
}

} // namespace

bool matchesWildcard(std::wstring_view pattern, std::wstring_view name) {
  constexpr std::size_t kNone = std::wstring_view::npos;
  std::size_t p = 0;
  std::size_t n = 0;
  std::size_t afterStar = kNone; // pattern position after the last star seen
  std::size_t starEnd = 0;       // end of what that star has matched so far
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == L'*') {
      afterStar = ++p;
      starEnd = n;
    } else if (p < pattern.size() && pattern[p] == L'?') {
      ++p;
      n += characterLength(name, n);
    } else if (p < pattern.size() && sameUnit(pattern[p], name[n])) {
      ++p;
      ++n;
    } else if (afterStar != kNone) {
      // Backtrack to the last star only: extending an earlier one cannot help.
      p = afterStar;
      starEnd += characterLength(name, starEnd);
      n = starEnd;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', p) == kNone;
}

bool containsIgnoreCase(std::wstring_view name, std::wstring_view text) {
  return std::search(name.begin(), name.end(), text.begin(), text.end(), sameUnit) != name.end() ||
         text.empty();
}

} // namespace vorda
