#include "fileops/delete.h"
#include "fileops/deletion_log.h"
#include "support/made_up_disk.h"
#include "support/cases.h"

#include <doctest/doctest.h>

using namespace vorda;
using test::DiskNode;
using test::MadeUpDisk;

namespace {

// A machine with everything in it that must not go, and many ways to get there.
std::unique_ptr<MadeUpDisk> makeWorld() {
  auto disk = std::make_unique<MadeUpDisk>();
  test::eachRow("deletion_world.txt", [&disk](const std::string& line) {
    const std::size_t blank = line.find(' ');
    const std::string what = line.substr(0, blank);
    const std::wstring rest = toUtf16(line.substr(blank + 1));
    const std::size_t end = rest.find(L' ');
    const std::size_t is = rest.find(L" = ");
    if (what == "volume") {
      disk->volume(rest.substr(0, end), end == std::wstring::npos ? L"" : rest.substr(end + 1));
    }
    if (what == "file") disk->add(rest);
    if (what == "mount") disk->at(rest)->mount = true;
    if (what == "short") disk->at(rest.substr(end + 1))->shortName = rest.substr(0, end);
    if (what == "link") disk->link(rest.substr(0, is), rest.substr(is + 3));
  });
  disk->known = {
      {L"C:\\Windows", "windows", true},        {L"C:\\Program Files", "programs", true},
      {L"D:\\sys\\Programs", "programs", true}, {L"D:\\sys\\PD", "programdata", false},
      {L"V:\\Moved", "programs", true},         {L"\\\\localhost\\inner\\Kept", "programs", true},
      {L"C:\\Users", "allusers", false},        {L"D:\\people", "allusers", false},
      {L"C:\\Users\\anna", "profile", false}};
  disk->mounts = {L"C:\\", L"C:\\mnt\\vol"};
  return disk;
}

DeleteResult remove(MadeUpDisk& disk, std::vector<std::wstring> paths,
                    const std::wstring& root = {}, bool permanent = true, bool dryRun = false) {
  return deletePaths(disk, disk, {std::move(paths), permanent, dryRun, root});
}

std::wstring realName(const DiskNode& node) {
  return node.parent == nullptr ? node.name : realName(*node.parent) + L"\\" + node.name;
}

// What is gone, and nothing must be, beyond the node and what is in it.
bool wentAlone(const std::vector<std::wstring>& before, const std::vector<std::wstring>& after,
               const std::wstring& name) {
  std::vector<std::wstring> expected;
  for (const std::wstring& one : before) {
    const bool part =
        one.starts_with(name) && (one.size() == name.size() || one[name.size()] == L'\\' ||
                                  one.substr(name.size()).starts_with(L" -> "));
    if (!part) expected.push_back(one);
  }
  return expected == after && after.size() < before.size();
}

} // namespace

TEST_CASE("every spelling of a deletion goes where it should, and nowhere else") {
  std::wstring root;
  std::string without = "@without ";
  int refused = 0;
  int deleted = 0;
  test::eachRow("deletion_spellings.txt", [&](const std::string& line) {
    CAPTURE(line);
    if (line.starts_with("@without")) without = line + " ";
    if (line.starts_with("@root")) {
      root = line.size() > 6 ? test::withUnits(line.substr(6)) : L"";
    }
    if (line[0] == '@') return;
    const auto tells = [&without](const char* what) {
      return without.find(std::string(" ") + what + " ") == std::string::npos;
    };
    const std::string word = line.substr(0, line.find(' '));
    const std::wstring path = test::withUnits(line.substr(word.size() + 1));
    // Whether the system can tell long names makes no difference, unless it is said.
    for (const bool longPaths : {tells("long"), tells("long") && without.size() > 10}) {
      const std::unique_ptr<MadeUpDisk> disk = makeWorld();
      disk->longPaths = longPaths;
      disk->finalPlaces = tells("final");
      disk->identities = tells("identity");
      if (!tells("mounts")) disk->mounts.clear();
      if (word == "deleted" && disk->at(path) == nullptr) disk->add(path);
      const std::wstring name = word == "deleted" ? realName(*disk->at(path)) : L"";
      const std::vector<std::wstring> before = disk->snapshot();
      const DeleteResult dry = remove(*disk, {path}, root, true, true);
      CHECK(disk->snapshot() == before);
      const DeleteResult result = remove(*disk, {path}, root);
      if (word == "deleted") {
        CHECK(dry.wouldDelete.size() == 1);
        CHECK(result.deleted.size() == 1);
        CHECK(wentAlone(before, disk->snapshot(), name));
        continue;
      }
      CHECK(disk->snapshot() == before);
      CHECK(disk->shellCalls == 0);
      REQUIRE(dry.refused.size() == 1);
      CHECK(dry.refused[0].word == word);
      REQUIRE(result.refused.size() == 1);
      CHECK(result.refused[0].word == word);
    }
    ++(word == "deleted" ? deleted : refused);
  });
  CHECK(refused >= 120);
  CHECK(deleted >= 20);
}

TEST_CASE("what goes with another path is named once, and links go as links") {
  const auto disk = makeWorld();
  disk->add(L"C:\\data\\sub\\more\\y");
  const auto names = [](const std::vector<DeletedPath>& paths) {
    std::vector<std::wstring> all;
    for (const DeletedPath& one : paths) all.push_back(one.path);
    return all;
  };
  const DeleteResult result = remove(
      *disk, {L"C:\\data\\sub\\more\\y", L"C:\\data\\sub\\x", L"c:/Data/SUB/", L"C:\\data\\sub",
              L"C:\\data\\LONGFO~1\\f", L"C:\\data\\Long Folder Name", L"T:\\sub\\x",
              L"C:\\data\\to-windows", L"C:\\data\\to-other\\o.txt", L"D:\\other", L"D:\\around"});
  const std::vector<std::wstring> expected = {L"c:\\Data\\SUB", L"C:\\data\\Long Folder Name",
                                              L"C:\\data\\to-windows", L"D:\\other"};
  CHECK(names(result.wouldDelete) == expected);
  CHECK(names(result.deleted) == expected);
  // The shell is told the real places: a link on the way might change.
  CHECK(disk->handed == std::vector<std::wstring>{L"C:\\data\\sub", L"C:\\data\\Long Folder Name",
                                                  L"C:\\data\\to-windows", L"D:\\other"});
  CHECK(disk->shellCalls == 1);
  CHECK(result.bytes == 4);
  CHECK(result.deleted[2].measure.files == 0);
  CHECK(disk->at(L"C:\\Windows\\System32\\x.dll") != nullptr);
  // What lies in there under a name that no form of the path shows was met by measuring.
  REQUIRE(result.refused.size() == 1);
  CHECK(result.refused[0].word == "programs");
  CHECK(disk->at(L"D:\\around\\inner\\Kept\\k") != nullptr);
}

TEST_CASE("what turns into something else while it is measured stays") {
  using Change = std::function<void(MadeUpDisk&)>;
  const std::vector<std::pair<std::string, Change>> changes = {
      {"ambiguous",
       [](MadeUpDisk& disk) {
         disk.removeNode(*disk.at(L"C:\\data\\sub\\x"));
         disk.add(L"C:\\data\\sub\\x", 7);
       }},
      {"ambiguous",
       [](MadeUpDisk& disk) {
         disk.removeNode(*disk.at(L"C:\\data\\sub"));
         disk.link(L"C:\\data\\sub", L"C:\\Windows\\System32");
         disk.add(L"C:\\Windows\\System32\\x");
       }},
      {"ambiguous",
       [](MadeUpDisk& disk) {
         disk.removeNode(*disk.at(L"C:\\data\\sub"));
         disk.link(L"C:\\data\\sub", L"C:\\data\\elsewhere");
         disk.add(L"C:\\data\\elsewhere\\x").id = 4711;
       }},
      // The same file, by way of a link that was not there.
      {"ambiguous",
       [](MadeUpDisk& disk) {
         const std::uint64_t id = disk.at(L"C:\\data\\sub\\x")->id;
         disk.removeNode(*disk.at(L"C:\\data\\sub"));
         disk.link(L"C:\\data\\sub", L"C:\\data\\elsewhere");
         disk.add(L"C:\\data\\elsewhere\\x").id = id;
       }},
      {"ambiguous", [](MadeUpDisk& disk) { disk.at(L"C:\\data\\sub\\x")->link = L"C:\\Users"; }},
      {"ambiguous", [](MadeUpDisk& disk) { disk.at(L"C:\\data\\sub\\x")->folder = true; }},
      // What has become a place to be kept, under a name that only its identity explains.
      {"ambiguous",
       [](MadeUpDisk& disk) {
         disk.volume(L"\\\\pc\\data", L"C:\\data");
         disk.known.push_back({L"\\\\pc\\data\\sub", "programs", true});
       }},
      {"missing", [](MadeUpDisk& disk) { disk.removeNode(*disk.at(L"C:\\data\\sub\\x")); }}};
  for (const auto& one : changes) {
    const Change& change = one.second;
    const auto disk = makeWorld();
    std::vector<std::wstring> events;
    disk->onHold = [&events](const std::wstring& folder) { events.push_back(folder); };
    disk->onOpen = [&](const std::wstring& folder) {
      if (folder != L"C:\\data\\deep") return;
      events.push_back(L"measured");
      change(*disk);
    };
    const DeleteResult result = remove(*disk, {L"C:\\data\\sub\\x", L"C:\\data\\deep"});
    // Whoever would change a folder on the way finds it held before anything is measured.
    CHECK(events == std::vector<std::wstring>{L"C:\\data\\sub", L"C:\\data", L"measured"});
    CHECK(disk->handed == std::vector<std::wstring>{L"C:\\data\\deep"});
    CHECK(result.deleted.size() == 1);
    CHECK(result.wouldDelete.size() == 1);
    REQUIRE(result.refused.size() == 1);
    CHECK(result.refused[0].word == one.first);
  }
}

TEST_CASE("each outcome and its lines in the log, to the byte") {
  struct Row {
    bool permanent;
    bool binsNothing;
    bool aborts;
    bool locked; // of two folders the second one, in part
    const char* error;
    std::uint64_t bytes;
    std::uint64_t binned;
    const char* log;
  };
  const std::vector<Row> rows = {
      {true, false, false, false, "", 1001, 0,
       "2026-01-02 03:04:05  definitief  1000  C:\\data\\\u00E9\r\n"
       "2026-01-02 03:04:05  definitief  1  C:\\data\\deep\r\n"},
      {false, false, false, false, "", 1001, 1001,
       "2026-01-02 03:04:05  prullenbak  1000  C:\\data\\\u00E9\r\n"
       "2026-01-02 03:04:05  prullenbak  1  C:\\data\\deep\r\n"},
      {false, true, false, false, "", 1001, 0,
       "2026-01-02 03:04:05  definitief (niet in de prullenbak)  1000  C:\\data\\\u00E9\r\n"
       "2026-01-02 03:04:05  definitief (niet in de prullenbak)  1  C:\\data\\deep\r\n"},
      {true, false, false, true, "failed:32", 1000, 0,
       "2026-01-02 03:04:05  definitief  1000  C:\\data\\\u00E9\r\n"
       "2026-01-02 03:04:05  MISLUKT (32)  1 van 2 paden bleven staan\r\n"},
      {false, false, true, true, "aborted", 1000, 1000,
       "2026-01-02 03:04:05  prullenbak  1000  C:\\data\\\u00E9\r\n"
       "2026-01-02 03:04:05  MISLUKT (32)  1 van 2 paden bleven staan\r\n"},
      {true, false, true, false, "aborted", 1001, 0,
       "2026-01-02 03:04:05  definitief  1000  C:\\data\\\u00E9\r\n"
       "2026-01-02 03:04:05  definitief  1  C:\\data\\deep\r\n"
       "2026-01-02 03:04:05  MISLUKT (0)  0 van 2 paden bleven staan\r\n"}};
  for (const Row& row : rows) {
    const auto disk = makeWorld();
    disk->add(L"C:\\data\\\u00E9\\big", 1000);
    disk->at(L"C:\\data\\deep\\f")->locked = row.locked;
    disk->binsNothing = row.binsNothing;
    disk->aborts = row.aborts;
    disk->binBytes = 5000;
    const DeleteResult result =
        remove(*disk, {L"C:\\data\\\u00E9", L"C:\\data\\deep"}, {}, row.permanent);
    CHECK(disk->log == row.log);
    CHECK(result.error == row.error);
    CHECK(result.bytes == row.bytes);
    CHECK(result.binned == row.binned);
    CHECK(result.left.size() == (row.locked ? 1 : 0));
  }
  // With nothing deleted a request for the bin is still one for the bin.
  CHECK(failedLine({}, 2, 1, 1) ==
        "0000-00-00 00:00:00  MISLUKT (2)  1 van 1 paden bleven staan\r\n");
  CHECK(cleanedLine({2026, 12, 31, 23, 59, 58}, 12, L"C:\\Windows\\Temp", 3, 4) ==
        "2026-12-31 23:59:58  LEEGGEMAAKT  12  C:\\Windows\\Temp  (3 weg, 4 overgeslagen)\r\n");
}

TEST_CASE("a dry run touches nothing and knows what no bin would take") {
  const auto disk = makeWorld();
  disk->noBins = {L"D:\\"};
  disk->link(L"C:\\data\\to-d", L"D:\\other");
  const std::vector<std::wstring> paths = {L"C:\\data\\a.txt", L"D:\\other\\o.txt",
                                           L"\\\\srv\\share\\a", L"C:\\data\\to-d",
                                           L"C:\\data\\deep"};
  const auto before = disk->snapshot();
  const DeleteResult bin = remove(*disk, paths, {}, false, true);
  CHECK(bin.wouldDelete.size() == 5);
  CHECK(bin.bytes == 3); // the files alone
  CHECK(bin.noBin == std::vector<std::wstring>{L"D:\\other\\o.txt", L"\\\\srv\\share\\a"});
  CHECK(remove(*disk, paths, {}, true, true).noBin.empty());
  CHECK(remove(*disk, {L"C:\\data\\to-d\\o.txt"}, {}, false, true).noBin.size() == 1);
  CHECK(disk->snapshot() == before);
  CHECK(disk->log.empty());
  CHECK(disk->listed == 0);
  CHECK(disk->shellCalls == 0);
}
