#include "base/natural_order.h"
#include "base/text.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("UTF-8 and UTF-16 conversion, well-formed and malformed") {
  const std::wstring emoji = {wchar_t{0xD83D}, wchar_t{0xDE00}};
  CHECK(toUtf16("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80") == L"a\u00E9\u20AC" + emoji);
  CHECK(toUtf8(L"a\u00E9\u20AC" + emoji) == "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  const std::string replaced = "\xEF\xBF\xBD";
  CHECK(toUtf8(std::wstring(1, wchar_t{0xD83D}) + L"x") == replaced + "x");
  CHECK(toUtf8(std::wstring{wchar_t{0xDE00}, wchar_t{0xD83D}}) == replaced + replaced);
  // Overlong, surrogate, above U+10FFFF, truncated, lone continuation byte.
  for (const char* bad : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\x80"}) {
    const std::string text(bad);
    CHECK(toUtf16(text + "z") == std::wstring(text.size(), L'\xFFFD') + L"z");
  }
}

TEST_CASE("comparison ignoring case, also outside ASCII") {
  CHECK(equalsIgnoreCase(L"\u00C9T\u00C9.TXT", L"\u00E9t\u00E9.txt"));
  CHECK_FALSE(equalsIgnoreCase(L"stra\u00DFe", L"STRASSE"));
  CHECK(lowerCase(L"\u0416A") == L"\u0436a");
  // Units are upper-cased, so "_" sorts after the letters.
  CHECK(compareIgnoreCase(L"a_", L"aB") > 0);
  CHECK(compareIgnoreCase(L"ab", L"ABC") < 0);
  CHECK(endsWithIgnoreCase(L"r.CSV", L".csv"));
  CHECK_FALSE(startsWithIgnoreCase(L"ab", L"abc"));
}

TEST_CASE("natural order compares digits by value") {
  CHECK(compareNatural(L"a2b", L"A10") < 0);
  CHECK(compareNatural(L"x007", L"x7a") < 0);
  CHECK(compareNatural(L"a", L"A") != 0);
}
