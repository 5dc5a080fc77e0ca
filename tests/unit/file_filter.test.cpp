#include "scan/file_filter.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;

TEST_CASE("extension lists and name patterns select files") {
  using Texts = std::vector<std::wstring>;
  CHECK(parseExtensions(L" .jpg,PNG;*.Psd  ai ") == Texts{L".jpg", L".png", L".psd", L".ai"});
  CHECK(parseExtensions(L" ,; ").empty());
  CHECK(parseNamePatterns(L" a b ;; *.x; ") == Texts{L"a b", L"*.x"});
  const Texts images = parseExtensions(L"jpg png");
  const Texts holiday = parseNamePatterns(L"HOLIDAY; 20??*");
  CHECK(passesFilter(L"My holiday.Jpg", images, holiday));
  CHECK(passesFilter(L"2019-a.png", images, holiday));
  CHECK_FALSE(passesFilter(L"holiday.gif", images, holiday));
  CHECK_FALSE(passesFilter(L"x2019.png", images, holiday));
  CHECK_FALSE(passesFilter(L"jpg", images, {}));
}
