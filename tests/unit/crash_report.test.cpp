#include "app/crash_report.h"
#include "base/program_image.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("reports of crashes are told by their names, newest first") {
  const std::vector<std::wstring> folder = {
      L"crash-20261122-101500-4711.dmp", L"verwijderd.log",
      L"crash-20270101-000000-1.dmp",    L"crash-20261122-101500-.dmp",
      L"crash-20261122-101500-12.dmp",   L"crash-20261122-1O1500-12.dmp",
      L"crash-20261122-101500-12.dmp~",  L"crash-20261122-101500-a.dmp",
      L"Crash-20261122-101500-12.dmp",   L"crash-20261122-101500-12-34.dmp"};
  CHECK(crashReports(folder) == std::vector<std::wstring>{L"crash-20270101-000000-1.dmp",
                                                          L"crash-20261122-101500-4711.dmp",
                                                          L"crash-20261122-101500-12.dmp"});
}

TEST_CASE("whether a program file carries a signature") {
  std::vector<std::uint8_t> head(1'024);
  const auto put = [&head](std::size_t at, std::initializer_list<std::uint8_t> bytes) {
    std::copy(bytes.begin(), bytes.end(), head.begin() + static_cast<std::ptrdiff_t>(at));
  };
  const auto carries = [&head](std::size_t size) { return carriesSignature({head.data(), size}); };
  put(0, {'M', 'Z'});
  put(0x3C, {0x80});
  put(0x80, {'P', 'E'});
  put(0x98, {0x0B, 0x02});
  put(0x98 + 108, {16});
  CHECK_FALSE(carries(head.size()));
  const std::size_t directory = 0x98 + 112 + 4 * 8;
  put(directory, {0, 0x20, 0, 0, 0x08});
  CHECK(carries(head.size()));
  for (std::size_t size = 0; size < directory + 5; ++size) CHECK_FALSE(carries(size));
  for (const std::size_t at : {0x0U, 0x80U, 0x98U, 0x98U + 108}) {
    const std::uint8_t kept = head[at];
    head[at] = 4;
    CHECK_FALSE(carries(head.size()));
    head[at] = kept;
  }
  put(0x3C, {0xFF, 0xFF, 0xFF, 0xFF}); // the header lies outside
  CHECK_FALSE(carries(head.size()));
}
