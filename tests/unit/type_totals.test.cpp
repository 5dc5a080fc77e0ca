#include "scan/type_totals.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;

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
