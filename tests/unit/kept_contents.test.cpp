#include "api/kept_contents.h"
#include "support/memory_contents.h"

using namespace vorda;

TEST_CASE("what stays is read whole, and counts for nothing if it changed or went meanwhile") {
  test::MemoryContents contents;
  const std::string large(1'500'000, 'x');
  contents.add(L"a", large + "1");
  contents.add(L"b", large + "2");
  ContentKeeper keeper(contents);
  const auto a = keeper.keep(L"a", KeepFor::good);
  const auto b = keeper.keep(L"b", KeepFor::good);
  CHECK(a->read()->digest != b->read()->digest);
  contents.hashersFail = true;
  CHECK_FALSE(a->read());
  contents.hashersFail = false;
  contents.onRead = [&](const std::wstring& path) { contents.rewrite(path, large + "3"); };
  CHECK_FALSE(a->read());
  contents.onRead = nullptr;
  CHECK(a->read());
  contents.remove(L"a");
  CHECK_FALSE(a->look());
  CHECK_FALSE(a->read());
}
