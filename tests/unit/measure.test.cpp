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

TEST_CASE("what went from a folder that is still there") {
  using Numbers = std::vector<std::uint64_t>;
  const auto loss = [](std::uint64_t bytes, std::uint64_t files, std::uint64_t folders,
                       std::uint64_t links) {
    PathMeasure before;
    before.bytes = 50;
    before.files = 3;
    before.folders = 2;
    before.links = 1;
    PathMeasure after;
    after.bytes = bytes;
    after.files = files;
    after.folders = folders;
    after.links = links;
    const Loss one = lossBetween(before, after);
    return Numbers{one.bytes, one.files, one.any ? 1U : 0U};
  };
  CHECK(loss(50, 3, 2, 1) == Numbers{0, 0, 0});
  CHECK(loss(40, 2, 2, 1) == Numbers{10, 1, 1});
  // Only an empty file, a folder or a link went; and more came than went.
  CHECK(loss(50, 2, 2, 1) == Numbers{0, 1, 1});
  CHECK(loss(50, 3, 1, 1) == Numbers{0, 0, 1});
  CHECK(loss(50, 3, 2, 0) == Numbers{0, 0, 1});
  CHECK(loss(60, 4, 3, 2) == Numbers{0, 0, 0});
}
