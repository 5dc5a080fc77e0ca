#include "support/deletion_world.h"

using namespace vorda;
using namespace vorda::test;

namespace {

std::wstring realName(const DiskNode& node) {
  return node.parent == nullptr ? node.name : realName(*node.parent) + L"\\" + node.name;
}

// Whether the entry with this path and everything inside it is gone, and nothing else.
bool onlyRemoved(const std::vector<std::wstring>& before, const std::vector<std::wstring>& after,
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

TEST_CASE("every spelling of a path is refused, or deletes only what it names") {
  std::wstring root;
  std::string without = "@without ";
  int refused = 0;
  int deleted = 0;
  eachRow("deletion_spellings.txt", [&](const std::string& line) {
    CAPTURE(line);
    if (line.starts_with("@without")) without = line + " ";
    if (line.starts_with("@root")) {
      root = line.size() > 6 ? withUnits(line.substr(6)) : L"";
    }
    if (line[0] == '@') return;
    const auto knows = [&without](const char* what) {
      return without.find(std::string(" ") + what + " ") == std::string::npos;
    };
    const std::string word = line.substr(0, line.find(' '));
    const std::wstring path = withUnits(line.substr(word.size() + 1));
    // The result must not depend on long paths unless the table says so.
    for (const bool longPaths : {knows("long"), knows("long") && without.size() > 10}) {
      const std::unique_ptr<MemoryDisk> disk = makeWorld();
      disk->longPaths = longPaths;
      disk->finalPlaces = knows("final");
      disk->identities = knows("identity");
      if (!knows("mounts")) disk->mounts.clear();
      if (word == "deleted" && disk->at(path) == nullptr) disk->add(path);
      const std::wstring name = word == "deleted" ? realName(*disk->at(path)) : L"";
      const std::vector<std::wstring> before = disk->snapshot();
      const DeleteResult dry = remove(*disk, {path}, root, true, true);
      CHECK(disk->snapshot() == before);
      const DeleteResult result = remove(*disk, {path}, root);
      if (word == "deleted") {
        CHECK(dry.wouldDelete.size() == 1);
        CHECK(result.deleted.size() == 1);
        CHECK(onlyRemoved(before, disk->snapshot(), name));
        continue;
      }
      CHECK(disk->snapshot() == before);
      CHECK(disk->shellCalls == 0);
      REQUIRE(dry.refused.size() == 1);
      CHECK(wordOf(dry.refused[0].why) == word);
      REQUIRE(result.refused.size() == 1);
      CHECK(wordOf(result.refused[0].why) == word);
    }
    ++(word == "deleted" ? deleted : refused);
  });
  CHECK(refused >= 100);
  CHECK(deleted >= 20);
}

TEST_CASE("paths inside others are deleted once, and links as links") {
  const auto disk = makeWorld();
  disk->add(L"C:\\data\\sub\\more\\y");
  disk->add(L"D:\\around\\inner\\later\\l");
  disk->mounts.push_back(L"D:\\other"); // without a system of its own
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
  // The shell gets resolved paths, because a link in a path could change, and no folder with
  // links to folders in it, nor such a link itself.
  CHECK(disk->handed == std::vector<std::wstring>{L"C:\\data\\Long Folder Name"});
  CHECK(disk->at(L"C:\\data\\sub") == nullptr);
  CHECK(disk->at(L"C:\\data2") != nullptr); // links in folders lead here and back to data
  CHECK(disk->at(L"C:\\data\\a.txt") != nullptr);
  CHECK(disk->shellCalls == 1);
  CHECK(result.bytes == 4);
  CHECK(result.deleted[2].measure.files == 0);
  CHECK(disk->at(L"C:\\Windows\\System32\\x.dll") != nullptr);
  // No form of this path shows the protected folder inside; measuring found it.
  REQUIRE(result.refused.size() == 1);
  CHECK(result.refused[0].why == Refusal::programs);
  CHECK(disk->at(L"D:\\around\\inner\\Kept\\k") != nullptr);
}

TEST_CASE("a path is named as it was given, and the system gets what it leads to") {
  const auto disk = makeWorld();
  disk->link(L"C:\\data\\a~link", L"D:\\other");
  std::vector<std::wstring> held;
  disk->onHold = [&held](const std::wstring& folder) { held.push_back(folder); };
  const DeleteResult result =
      remove(*disk, {L"T:\\To-Other", L"t:\\TO-OTHER\\o.txt", L"T:\\Sub", L"C:\\data\\sub\\x",
                     L"T:\\LONGFO~1", L"C:\\data\\a~link", L"T:\\to-windows\\System32",
                     L"\\\\localhost\\programs\\App\\a.exe", L"\\\\localhost\\programs\\App"});
  CHECK(result.deleted[0].inTree.empty());
  std::vector<std::wstring> gone;
  for (const DeletedPath& one : result.deleted) gone.push_back(one.path + L" = " + one.real);
  CHECK(gone == std::vector<std::wstring>{L"T:\\To-Other = C:\\data\\to-other",
                                          L"T:\\Sub = C:\\data\\sub",
                                          L"T:\\LONGFO~1 = C:\\data\\Long Folder Name",
                                          L"C:\\data\\a~link = C:\\data\\a~link"});
  CHECK(held == std::vector<std::wstring>{L"C:\\data", L"C:\\data\\sub"});
  CHECK(disk->handed == std::vector<std::wstring>{L"C:\\data\\Long Folder Name"});
  CHECK(disk->at(L"D:\\other\\o.txt") != nullptr);
  REQUIRE(result.refused.size() == 3);
  CHECK(result.refused[0].path == L"T:\\to-windows\\System32");
  CHECK(result.refused[1].why == Refusal::programs);
  CHECK(result.refused[2].why == Refusal::programs); // the second in the same folder

  for (const std::wstring root : {L"T:\\", L"C:\\data", L"C:\\"}) {
    const std::wstring data = root == L"C:\\" ? L"C:\\data" : root;
    const DeleteResult dry =
        remove(*disk, {joinPath(data, L"to-deep\\f"), joinPath(data, L"A.TXT")}, root, true, true);
    REQUIRE(dry.wouldDelete.size() == 2);
    CHECK(dry.wouldDelete[0].inTree == joinPath(data, L"deep\\f"));
    CHECK(dry.wouldDelete[1].inTree == joinPath(data, L"a.txt"));
  }
}

TEST_CASE("a path that changes while it is measured is not deleted") {
  using Change = std::function<void(MemoryDisk&)>;
  const std::vector<std::pair<Refusal, Change>> changes = {
      {Refusal::ambiguous,
       [](MemoryDisk& disk) {
         disk.removeNode(*disk.at(L"C:\\data\\sub\\x"));
         disk.add(L"C:\\data\\sub\\x", 7);
       }},
      {Refusal::ambiguous,
       [](MemoryDisk& disk) {
         disk.removeNode(*disk.at(L"C:\\data\\sub"));
         disk.link(L"C:\\data\\sub", L"C:\\Windows\\System32");
         disk.add(L"C:\\Windows\\System32\\x");
       }},
      // The same file, reached through a new link.
      {Refusal::ambiguous,
       [](MemoryDisk& disk) {
         const std::uint64_t id = disk.at(L"C:\\data\\sub\\x")->id;
         disk.removeNode(*disk.at(L"C:\\data\\sub"));
         disk.link(L"C:\\data\\sub", L"C:\\data\\elsewhere");
         disk.add(L"C:\\data\\elsewhere\\x").id = id;
       }},
      {Refusal::ambiguous,
       [](MemoryDisk& disk) { disk.at(L"C:\\data\\sub\\x")->link = L"C:\\Users"; }},
      {Refusal::ambiguous, [](MemoryDisk& disk) { disk.at(L"C:\\data\\sub\\x")->folder = true; }},
      // The folder became a protected one, recognisable only by its identity.
      {Refusal::ambiguous,
       [](MemoryDisk& disk) {
         disk.volume(L"\\\\pc\\data", L"C:\\data");
         disk.known.push_back({L"\\\\pc\\data\\sub", Refusal::programs, true});
       }},
      {Refusal::missing, [](MemoryDisk& disk) { disk.removeNode(*disk.at(L"C:\\data\\sub\\x")); }}};
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
    // The parent folders are held before anything is measured.
    CHECK(events == std::vector<std::wstring>{L"C:\\data\\sub", L"C:\\data", L"measured"});
    CHECK(disk->handed == std::vector<std::wstring>{L"C:\\data\\deep"});
    CHECK(result.deleted.size() == 1);
    CHECK(result.wouldDelete.size() == 1);
    REQUIRE(result.refused.size() == 1);
    CHECK(result.refused[0].why == one.first);
  }
}

TEST_CASE("nothing goes from a folder that somebody else can still replace") {
  const auto disk = makeWorld();
  disk->add(L"C:\\Windows\\System32\\x");
  disk->notHeld = {L"C:\\data\\sub"};
  disk->beforeShell = [&disk] { // by then everything was judged
    disk->removeNode(*disk->at(L"C:\\data\\sub"));
    disk->link(L"C:\\data\\sub", L"C:\\Windows\\System32");
  };
  const DeleteResult result = remove(*disk, {L"C:\\data\\sub\\x", L"C:\\data\\a.txt"});
  CHECK(disk->handed == std::vector<std::wstring>{L"C:\\data\\a.txt"});
  CHECK(disk->at(L"C:\\Windows\\System32\\x") != nullptr);
  REQUIRE(result.refused.size() == 1);
  CHECK(result.refused[0].path == L"C:\\data\\sub\\x");
  CHECK(result.refused[0].why == Refusal::ambiguous);
}

TEST_CASE("a dry run changes nothing and reports paths without a recycle bin") {
  const auto disk = makeWorld();
  disk->noBins = {L"D:\\", L"T:\\"};
  disk->link(L"C:\\data\\to-d", L"D:\\other").folder = false;
  for (const wchar_t* folder : {L"C:\\data\\to-d", L"C:\\data\\deep"}) disk->at(folder)->size = 50;
  const std::vector<std::wstring> paths = {L"T:\\a.txt", L"D:\\other\\o.txt", L"\\\\srv\\share\\a",
                                           L"C:\\data\\to-d", L"C:\\data\\deep"};
  const auto before = disk->snapshot();
  const DeleteResult bin = remove(*disk, paths, {}, false, true);
  CHECK(bin.wouldDelete.size() == 5);
  CHECK(bin.bytes == 3); // of the files only
  CHECK(bin.noBin ==
        std::vector<std::wstring>{L"T:\\a.txt", L"D:\\other\\o.txt", L"\\\\srv\\share\\a"});
  CHECK(remove(*disk, paths, {}, true, true).noBin.empty());
  CHECK(remove(*disk, {L"C:\\data\\to-d\\o.txt"}, {}, false, true).noBin.size() == 1);
  CHECK(disk->snapshot() == before);
  CHECK(disk->log.empty());
  CHECK(disk->listed == 0);
  CHECK(disk->shellCalls == 0);
}

TEST_CASE("what is too long for the shell, and folders with links in them, go without it") {
  const std::wstring far =
      L"C:\\data\\" + std::wstring(200, L'x') + L"\\" + std::wstring(200, L'y');
  const auto make = [&far] {
    auto disk = makeWorld();
    disk->add(far, 3);
    disk->add(L"C:\\data\\near\\" + std::wstring(250, L'z') + L"\\f", 5);
    disk->add(L"C:\\data\\linked\\sub\\f", 7);
    disk->link(L"C:\\data\\linked\\sub\\out", L"D:\\other");
    return disk;
  };
  const std::vector<std::wstring> paths = {far, L"C:\\data\\near", L"C:\\data\\linked",
                                           L"C:\\data\\a.txt"};
  auto disk = make();
  const DeleteResult result = remove(*disk, paths);
  CHECK(result.deleted.size() == 4);
  CHECK(result.bytes == 16);
  CHECK(disk->handed == std::vector<std::wstring>{L"C:\\data\\a.txt"});
  CHECK(disk->at(L"D:\\other\\o.txt") != nullptr);
  CHECK(disk->log.find("definitief  7  C:\\data\\linked\r\n") != std::string::npos);

  // The bin would lose what is too long, and takes links as what they are.
  disk = make();
  const DeleteResult bin = remove(*disk, paths, {}, false);
  std::vector<std::wstring> tooLong;
  for (const RefusedPath& one : bin.refused) {
    CHECK(one.why == Refusal::tooLong);
    tooLong.push_back(one.path);
  }
  CHECK(tooLong == std::vector<std::wstring>{far, L"C:\\data\\near"});
  CHECK(disk->handed == std::vector<std::wstring>{L"C:\\data\\linked", L"C:\\data\\a.txt"});

  // A link that cannot be opened as one stays, and so do the folders around it.
  disk = make();
  disk->linksAreStuck = true;
  const DeleteResult stuck = remove(*disk, {L"C:\\data\\linked", L"C:\\data\\near"});
  CHECK(stuck.error == "failed:1921");
  CHECK(stuck.bytes == 12);
  REQUIRE(stuck.left.size() == 1);
  CHECK(disk->at(L"C:\\data\\linked\\sub\\out\\o.txt") != nullptr);
  CHECK(disk->at(L"C:\\data\\linked\\sub\\f") == nullptr);
  CHECK(disk->log == "2026-01-02 03:04:05  definitief  5  C:\\data\\near\r\n"
                     "2026-01-02 03:04:05  definitief (deels)  7  C:\\data\\linked\r\n"
                     "2026-01-02 03:04:05  MISLUKT (1921)  1 van 2 paden bleven staan\r\n");
}

TEST_CASE("without the shell names may end in dots, and no protected folder is entered") {
  const auto make = [] {
    auto disk = makeWorld();
    disk->link(L"C:\\data\\t\\to-other", L"D:\\other");
    disk->link(L"C:\\data\\t\\to-file", L"C:\\data\\a.txt").folder = false;
    disk->add(L"C:\\data\\t\\odd.\\in\\f");
    disk->add(L"C:\\data\\t\\Kept\\k");
    return disk;
  };
  auto disk = make();
  CHECK(remove(*disk, {L"C:\\data\\t"}).deleted.size() == 1);
  CHECK(disk->at(L"C:\\data\\t") == nullptr);
  CHECK(disk->shellCalls == 0);
  CHECK(disk->at(L"C:\\data\\a.txt") != nullptr);
  for (const bool unreadable : {true, false}) {
    disk = make();
    disk->onRemove = [&](const std::wstring&) {
      if (unreadable) disk->unreadable = {L"C:\\data\\t\\Kept"};
      if (!unreadable)
        disk->at(L"C:\\data\\t\\Kept")->id = disk->at(L"D:\\around\\inner\\Kept")->id;
    };
    CHECK(remove(*disk, {L"C:\\data\\t"}).error == "failed:1921");
    CHECK(disk->at(L"C:\\data\\t\\Kept\\k") != nullptr);
    disk->onRemove = nullptr;
  }
}

TEST_CASE("how much went into the bin is only said where the bin could be looked into") {
  using Meanwhile = std::function<void(MemoryDisk&)>;
  const auto nothing = [](MemoryDisk&) {};
  const std::vector<std::tuple<const wchar_t*, bool, Meanwhile>> rows = {
      {L"\\\\srv\\share\\a", false, nothing},
      {L"C:\\data\\a.txt", true, nothing},
      {L"C:\\data\\a.txt", true, [](MemoryDisk& disk) { disk.binsAreHidden = false; }},
      {L"C:\\data\\a.txt", false, [](MemoryDisk& disk) { disk.binsAreHidden = true; }},
      {L"C:\\data\\a.txt", false, [](MemoryDisk& disk) { disk.binBytes = 0; }}};
  for (const auto& [path, hidden, meanwhile] : rows) {
    const auto disk = makeWorld();
    disk->binBytes = 5000;
    disk->binsAreHidden = hidden;
    disk->beforeShell = [&disk, change = meanwhile] { change(*disk); };
    const DeleteResult result = remove(*disk, {path}, {}, false);
    CHECK(result.deleted.size() == 1);
    CHECK(result.binned == 0);
  }
  const auto disk = makeWorld();
  disk->add(L"C:\\data\\empty", 0);
  remove(*disk, {L"C:\\data\\empty"}, {}, false);
  CHECK(disk->log == "2026-01-02 03:04:05  prullenbak  0  C:\\data\\empty\r\n");
}

TEST_CASE("a folder that becomes a link while it is removed is not entered") {
  // At each removal in turn, the folder that is next becomes a link to a folder of the same shape.
  for (int when = 0; when < 4; ++when) {
    const auto disk = makeWorld();
    for (const wchar_t* path : {L"C:\\data\\t\\one\\f", L"C:\\data\\t\\two\\f", L"C:\\safe\\one\\f",
                                L"C:\\safe\\two\\f"}) {
      disk->add(path);
    }
    disk->link(L"C:\\data\\t\\link", L"D:\\other");
    int removals = 0;
    disk->onRemove = [&](const std::wstring&) {
      if (removals++ != when) return;
      for (const std::wstring name : {L"one", L"two"}) {
        const std::wstring path = L"C:\\data\\t\\" + name;
        DiskNode* folder = disk->at(path);
        if (folder == nullptr || disk->isHeld(path)) continue;
        disk->removeNode(*folder);
        disk->link(path, L"C:\\safe\\" + name);
      }
    };
    remove(*disk, {L"C:\\data\\t"});
    CHECK(removals > when);
    CHECK(disk->at(L"C:\\safe\\one\\f") != nullptr);
    CHECK(disk->at(L"C:\\safe\\two\\f") != nullptr);
    CHECK(disk->at(L"D:\\other\\o.txt") != nullptr);
  }
}

TEST_CASE("the longest path that the shell takes") {
  const auto disk = makeWorld();
  const auto whyNot = [&disk](const std::wstring& path, bool dryRun) {
    const DeleteResult result = remove(*disk, {path}, {}, false, dryRun);
    return result.refused.empty() ? "" : wordOf(result.refused.front().why);
  };
  for (const auto& [length, why] : {std::pair(259, ""), std::pair(260, "toolong")}) {
    const std::wstring path =
        L"C:\\data\\" + std::wstring(static_cast<std::size_t>(length) - 8, L'x');
    disk->add(path);
    CHECK(whyNot(path, true) == why);
    CHECK(whyNot(path, false) == why);
    CHECK((disk->at(path) != nullptr) == (length == 260));
    const std::wstring folder = L"C:\\data\\in" + std::to_wstring(length);
    disk->add(folder + L"\\" + std::wstring(static_cast<std::size_t>(length) - 14, L'y'));
    CHECK(whyNot(folder, false) == why);
    CHECK((disk->at(folder) != nullptr) == (length == 260));
  }
  CHECK(whyNot(L"L:\\far below the limit", true) == "toolong");
  const std::wstring name(260, L'z');
  disk->add(L"C:\\Windows\\" + name);
  disk->add(L"D:\\around\\" + name);
  CHECK(whyNot(L"C:\\data\\to-windows\\" + name, true) == "windows");
  CHECK(whyNot(L"D:\\around", false) == "programs");
}
