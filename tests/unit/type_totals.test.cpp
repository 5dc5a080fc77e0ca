#include "scan/turbo/type_tally.h"
#include "base/text.h"
#include "support/mft_volume.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;
using namespace vorda::test;

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

TEST_CASE("turbo's types are those of the walk, wherever the dots are") {
  NamePool pool;
  NamePool::Writer writer(pool);
  TypeTally tally(pool);
  TypeTotals expected;
  std::uint64_t bytes = 1;
  const auto add = [&](const std::wstring& text) {
    PooledName name;
    REQUIRE(added(writer, text, name));
    tally.add(name, {bytes, 1});
    addToType(expected, text, bytes++);
  };
  for (const wchar_t letter : {L'a', L'B', L'\u00E9', L'\u0416'}) {
    for (std::size_t length = 1; length <= 18; ++length) {
      for (std::size_t dot = 0; dot <= length; ++dot) {
        std::wstring text(length, letter);
        if (dot < length) text[dot] = L'.';
        add(text);
        if (dot + 3 < length) text[dot + 3] = L'.';
        add(text);
      }
    }
  }
  TypeTotals types;
  tally.moveInto(types);
  CHECK(types.size() == expected.size());
  for (const auto& [type, total] : expected) {
    CHECK(types[type].bytes == total.bytes);
    CHECK(types[type].files == total.files);
  }
}
