#include "base/text.h"
#include "fileops/measure.h"
#include "rules/safety_rules.h"
#include "support/memory_folders.h"
#include "support/cases.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("what must not be deleted, by spelling") {
  std::size_t rows = 0;
  test::eachRow("safety_rules.txt", [&rows](const std::string& line) {
    CAPTURE(line);
    const std::string word = line.substr(0, line.find(' '));
    CHECK(deleteRefusal(test::withUnits(line.substr(word.size() + 1))) ==
          (word == "-" ? "" : word));
    ++rows;
  });
  CHECK(rows >= 60);
}

TEST_CASE("inside the root, and not the root itself") {
  CHECK(isInsideRoot(L"D:\\photos", L"d:/PHOTOS/2020/"));
  CHECK(isInsideRoot(L"D:", L"D:\\a"));
  CHECK(isInsideRoot(L"D:\\photos\\", L"D:\\photos\\x"));
  CHECK(isInsideRoot(L"\\\\s\\d", L"\\\\S\\D\\x"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos\\"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"D:\\photos2"));
  CHECK_FALSE(isInsideRoot(L"D:\\photos", L"E:\\photos\\x"));
  CHECK_FALSE(isInsideRoot(L"D:\\", L"D:\\"));
}

TEST_CASE("what lies at a path is measured without following links") {
  test::MemoryFolders folders;
  const std::wstring root = folders.addFolder(L"M:", L"r");
  folders.addFile(root, L"a", 3);
  folders.addFile(folders.addFolder(folders.addFolder(root, L"b"), L"c"), L"d", 40);
  folders.addFolder(root, L"locked");
  folders.addLink(root, L"link", true);
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
