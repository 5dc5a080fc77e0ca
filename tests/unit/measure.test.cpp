#include "fileops/measure.h"
#include "scan/reparse_tag.h"
#include "support/memory_disk.h"

#include <functional>
#include <optional>
#include <set>
#include <vector>

using namespace vorda;
using namespace vorda::test;

using Numbers = std::vector<std::uint64_t>;

TEST_CASE("measuring does not follow links") {
  MemoryDisk folders;
  const std::wstring root = folders.addFolder(L"M:", L"r");
  folders.addFile(root, L"a", 3);
  folders.addFile(folders.addFolder(folders.addFolder(root, L"b"), L"c"), L"d", 40);
  folders.addFolder(root, L"locked");
  folders.link(root + L"\\link", L"M:\\r\\b");
  folders.unreadable = {L"M:\\r\\locked"};
  const auto measured = [&folders](const wchar_t* path) {
    const PathMeasure one = measurePath(folders, path);
    return Numbers{one.bytes, one.files, one.folders, one.links, one.unreadableFolders};
  };
  CHECK(measured(L"M:\\r") == Numbers{43, 2, 3, 1, 1});
  CHECK(measured(L"M:\\r\\a") == Numbers{3, 1, 0, 0, 0});
  CHECK(measured(L"M:\\r\\link") == Numbers{0, 0, 0, 0, 0});
  CHECK(measured(L"M:\\none") == Numbers{0, 0, 0, 0, 0});
  folders.endingEarly = {L"M:\\r\\b"};
  CHECK(measured(L"M:\\r") == Numbers{43, 2, 3, 1, 2});
  folders.link(root + L"\\file-link", L"M:\\r\\a").folder = false;
  folders.add(L"M:\\r\\odd.\\in\\e", 500); // such names are not what they are read as
  CHECK(measured(L"M:\\r") == Numbers{543, 3, 5, 2, 2});
  CHECK(measurePath(folders, L"M:\\r").folderLinks == 1);
}

TEST_CASE("types get what their files take on the disk, one file measured alone as well") {
  MemoryDisk disk;
  disk.cluster = 4096;
  disk.add(L"M:\\r\\thin.bin", 900'000).disk = 8192;
  disk.add(L"M:\\r\\tiny.md", 700).disk = 704; // lies in its record
  const auto measured = [&disk](const wchar_t* path, const wchar_t* type) {
    const PathMeasure one = measurePath(disk, path);
    return one.types.contains(type) ? std::optional(one.types.at(type).disk) : std::nullopt;
  };
  CHECK(measured(L"M:\\r\\thin.bin", L".bin") == 8192);
  CHECK(measured(L"M:\\r\\tiny.md", L".md") == 0);
  CHECK(measured(L"M:\\r", L".bin") == 8192);
  CHECK(measured(L"M:\\", L".md") == 0);
  CHECK(measurePath(disk, L"M:\\").types.at(L".bin").cloud == 0);
}

TEST_CASE("what went from a folder that is still there") {
  const auto measured = [](std::uint64_t bytes, std::uint64_t files, std::uint64_t folders,
                           std::uint64_t links) {
    PathMeasure one;
    one.bytes = bytes;
    one.files = files;
    one.folders = folders;
    one.links = links;
    return one;
  };
  const auto loss = [&](std::uint64_t bytes, std::uint64_t files, std::uint64_t folders,
                        std::uint64_t links) {
    const Loss one = lossBetween(measured(50, 3, 2, 1), measured(bytes, files, folders, links));
    return Numbers{one.bytes, one.files, one.any ? 1U : 0U};
  };
  CHECK(loss(50, 3, 2, 1) == Numbers{0, 0, 0});
  CHECK(loss(40, 2, 2, 1) == Numbers{10, 1, 1});
  CHECK(loss(40, 3, 2, 1) == Numbers{10, 0, 1}); // one shrank
  // Only an empty file, a folder or a link went; and more came than went.
  CHECK(loss(50, 2, 2, 1) == Numbers{0, 1, 1});
  CHECK(loss(50, 3, 1, 1) == Numbers{0, 0, 1});
  CHECK(loss(50, 3, 2, 0) == Numbers{0, 0, 1});
  CHECK(loss(60, 4, 3, 2) == Numbers{0, 0, 0});
}

TEST_CASE("the longest path inside a folder") {
  MemoryDisk folders;
  folders.add(L"M:\\r\\a\\");
  const auto longest = [&folders] { return measurePath(folders, L"M:\\r").longest; };
  CHECK(longest() == 6);
  folders.add(L"M:\\r\\a\\bcd");
  CHECK(longest() == 10);
  folders.add(L"M:\\r\\e\\fghi\\");
  CHECK(longest() == 11);
  folders.link(L"M:\\r\\link-of-12", L"M:\\r\\a");
  CHECK(longest() == 15);
}

TEST_CASE("the mark of a folder changes with everything in it, and with nothing else") {
  const auto mark = [](const std::function<void(MemoryDisk&)>& change) {
    MemoryDisk disk;
    disk.add(L"M:\\r\\a\\f", 3).lastWrite = 9;
    disk.add(L"M:\\r\\a\\g", 4).lastWrite = 8;
    disk.add(L"M:\\r\\b\\");
    change(disk);
    return measurePath(disk, L"M:\\r").mark;
  };
  const std::uint64_t before = mark([](MemoryDisk&) {});
  CHECK(mark([](MemoryDisk& disk) {
          auto& files = disk.at(L"M:\\r\\a")->children;
          std::swap(files[0], files[1]);
        }) == before);
  const std::vector<std::function<void(MemoryDisk&)>> changes = {
      [](MemoryDisk& disk) { disk.at(L"M:\\r\\a\\f")->size = 4; },
      [](MemoryDisk& disk) { ++disk.at(L"M:\\r\\a\\f")->lastWrite; },
      [](MemoryDisk& disk) { disk.at(L"M:\\r\\a\\f")->name = L"h"; },
      [](MemoryDisk& disk) { disk.at(L"M:\\r\\a\\f")->link = L"M:\\x"; },
      [](MemoryDisk& disk) {
        std::swap(disk.at(L"M:\\r\\a\\f")->name, disk.at(L"M:\\r\\a\\g")->name);
      },
      [](MemoryDisk& disk) {
        std::swap(disk.at(L"M:\\r\\a\\f")->size, disk.at(L"M:\\r\\a\\f")->lastWrite);
      },
      [](MemoryDisk& disk) { disk.removeNode(*disk.at(L"M:\\r\\a\\f")); },
      [](MemoryDisk& disk) { disk.add(L"M:\\r\\b\\c\\"); },
      [](MemoryDisk& disk) { disk.at(L"M:\\r\\b")->name = L"c"; },
      [](MemoryDisk& disk) {
        auto& folders = disk.at(L"M:\\r")->children;
        std::swap(folders[0]->name, folders[1]->name);
      },
  };
  std::set<std::uint64_t> marks = {before};
  for (const auto& change : changes) marks.insert(mark(change));
  CHECK(marks.size() == changes.size() + 1);
}

TEST_CASE("a survey lists a folder as a scan would") {
  MemoryDisk disk;
  disk.addFile(L"M:\\r", L"a.txt", 3, 116'444'736'000'000'000 + 50'000); // 5 ms after 1970
  disk.add(L"M:\\r\\locked\\c", 5);
  disk.unreadable = {L"M:\\r\\locked"};
  disk.link(L"M:\\r\\link", L"M:\\r\\d").folder = false;
  ScanOptions options;
  options.fileListThreshold = 0;
  CHECK(surveyFolder(disk, L"M:\\r", options).met.empty()); // nobody knows which files they are
  disk.cluster = 4096;
  disk.add(L"M:\\r\\data.bin", 70).tag = 0x8000'0013; // no link: only its bytes on disk count
  DiskNode& cloud = disk.add(L"M:\\r\\d\\cloud.bin", 9000);
  cloud.disk = 4096;
  cloud.attributes = kAttributeRecallOnDataAccess;
  options.bounds.most = 9000;
  const ScanResult survey = surveyFolder(disk, L"M:\\r", options);
  CHECK(survey.rootPath == L"M:\\r");
  CHECK(survey.folders[0].name == L"M:\\r");
  CHECK(Numbers{survey.fileCount, survey.byteCount, survey.folderCount, survey.unreadableFolders,
                survey.disk[0].ownDisk} == Numbers{2, 9003, 3, 1, 8192});
  REQUIRE(survey.met.size() == 3);
  const MetFile& met = survey.met.back();
  CHECK(Numbers{met.folder, met.size, met.disk, met.cloud ? 1U : 0U} == Numbers{2, 9000, 4096, 1});
  REQUIRE(survey.files.size() == 2);
  CHECK(survey.files[0].modified == 5);
  options.bounds.most = 8999;
  CHECK(surveyFolder(disk, L"M:\\r", options).files.size() == 1);
}
