#include "base/companion.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("the companion passes arguments on as they stand") {
  const auto passed = [](const wchar_t* own) { return commandLineFor(L"C:\\a b\\vorda.exe", own); };
  const std::wstring program = L"\"C:\\a b\\vorda.exe\"";
  CHECK(passed(L"vorda") == program);
  CHECK(passed(L"") == program);
  CHECK(passed(L"vorda.com --scan C:\\  --out -") == program + L" --scan C:\\  --out -");
  CHECK(passed(L"\"C:\\a b\\vorda.com\"\t\"x\"\\\"y\" \"\"  ") ==
        program + L"\t\"x\"\\\"y\" \"\"  ");
  // The next argument may follow a closing quote at once, as Windows sees it.
  CHECK(passed(L"\"vorda\"--help") == program + L"--help");
  CHECK(passed(L"\"vorda --help") == program);
  CHECK(passed(L"vo\"r d\"a --help") == program + L" d\"a --help");
}

TEST_CASE("the number of the stop event") {
  CHECK(readHandleNumber(L"292") == 292);
  CHECK(readHandleNumber(L"18446744073709551615") == ~std::uintptr_t{0});
  for (const wchar_t* text : {L"", L"0", L"-4", L"+4", L" 4", L"4 ", L"0x10",
                              L"18446744073709551616", L"184467440737095516150"}) {
    CHECK_FALSE(readHandleNumber(text));
  }
}
