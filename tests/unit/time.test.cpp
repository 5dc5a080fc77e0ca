#include "base/time.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("FILETIME conversion and dates, at their limits") {
  CHECK(unixMsFromFileTime(0) == 0);
  CHECK(unixMsFromFileTime(116'444'736'000'000'000ULL - 1) == 0);
  CHECK(unixMsFromFileTime(116'444'736'000'000'000ULL + 15'000) == 1);
  CHECK(utcDate(0).empty());
  CHECK(utcDate(951'782'400'000ULL) == "2000-02-29");
  CHECK(utcDate(32'535'215'999'999ULL) == "3000-12-31");
  CHECK(utcDate(32'535'216'000'000ULL).empty());
  CHECK(utcDate(~0ULL).empty());
}
