#include "base/text.h"

#include <doctest/doctest.h>
#include <windows.h>

TEST_CASE("the case tables agree with the system for every unit") {
  int wrongUpper = 0;
  int wrongLower = 0;
  for (unsigned i = 1; i < 0x10000; ++i) {
    if (i >= 0xD800 && i < 0xE000) continue;
    const auto unit = static_cast<wchar_t>(i);
    const wchar_t upper = vorda::upperUnit(unit);
    if (CompareStringOrdinal(&unit, 1, &upper, 1, TRUE) != CSTR_EQUAL) ++wrongUpper;
    wchar_t lower = unit;
    CharLowerBuffW(&lower, 1);
    if (vorda::lowerUnit(unit) != lower) ++wrongLower;
    // Neighbouring units are equal here exactly if they are equal to the system.
    const auto next = static_cast<wchar_t>(i + 1);
    const bool same = CompareStringOrdinal(&unit, 1, &next, 1, TRUE) == CSTR_EQUAL;
    if (same != vorda::equalsIgnoreCase({&unit, 1}, {&next, 1})) ++wrongUpper;
  }
  CHECK(wrongUpper == 0);
  CHECK(wrongLower == 0);
}
