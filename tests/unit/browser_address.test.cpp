#include "app/browser_address.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("the address of the page, with and without a key and a path") {
  CHECK(browserAddress(7666, {}) == L"http://127.0.0.1:7666/");
  CHECK(browserAddress(1, {.scanPath = L"D:\\data"}) == L"http://127.0.0.1:1/?scan=D%3A%5Cdata");
  CHECK(browserAddress(
            1, {.key = L"a key&\u00E9", .scanPath = L"aZ09-._~ +%\u00E9\xD83D\xDE00\xD83D"}) ==
        L"http://127.0.0.1:1/?token=a key&\u00E9"
        L"?scan=aZ09-._~%20%2B%25%C3%A9%F0%9F%98%80%EF%BF%BD");
  CHECK(browserAddress(1, {.scanPath = L"C:\\", .sessionKey = L"KEY&1"}) ==
        L"http://127.0.0.1:1/?scan=C%3A%5C#key=KEY%261");
}
