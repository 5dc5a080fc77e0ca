#include "fileops/measure.h"
#include "support/memory_disk.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("measuring does not follow links") {
  test::MemoryDisk folders;
  const std::wstring root = folders.addFolder(L"M:", L"r");
  folders.addFile(root, L"a", 3);
  folders.addFile(folders.addFolder(folders.addFolder(root, L"b"), L"c"), L"d", 40);
  folders.addFolder(root, L"locked");
  folders.link(root + L"\\link", L"M:\\r\\b");
  folders.unreadable = {L"M:\\r\\locked"};
  const auto measured = [&folders](const wchar_t* path) {
    const PathMeasure measure = measurePath(folders, path);
    return std::vector<std::uint64_t>{measure.bytes, measure.files, measure.unreadableFolders};
  };
  CHECK(measured(L"M:\\r") == std::vector<std::uint64_t>{43, 2, 1});
  CHECK(measured(L"M:\\r\\a") == std::vector<std::uint64_t>{3, 1, 0});
  CHECK(measured(L"M:\\r\\link") == std::vector<std::uint64_t>{0, 0, 0});
  CHECK(measured(L"M:\\none") == std::vector<std::uint64_t>{0, 0, 0});
}
