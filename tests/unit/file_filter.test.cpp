#include "scan/file_filter.h"
#include "scan/type_totals.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("file filters as users type them") {
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

TEST_CASE("types of file names") {
  const std::vector<std::pair<std::wstring, std::wstring>> rows = {
      {L"archive.tar.gz", L".gz"},
      {L"README", L"(none)"},
      {L".gitignore", L"(none)"},
      {L"x.", L"(none)"},
      {L"photo.JPG", L".jpg"},
      {L"a.abcdefghijk", L".abcdefghijk"},
      {L"a.abcdefghijkl", L"(other)"},
      {L"a.\u00C9\u00C9", L".\u00E9\u00E9"},
      {L"", L"(none)"}};
  for (const auto& [name, key] : rows) CHECK(typeKeyOf(name) == key);
}
