#include "base/seen.h"
#include "support/runs.h"

#include <cstdlib>
#include <random>

using namespace vorda;
using namespace vorda::test;

namespace {

// The texts of the list with this name in an answer. None of them contains a bracket.
std::vector<std::string> listIn(const std::string& answer, const std::string& name) {
  std::vector<std::string> texts;
  std::size_t at = answer.find("\"" + name + "\":[");
  REQUIRE(at != std::string::npos);
  at += name.size() + 4;
  const std::string list = answer.substr(at, answer.find(']', at) - at);
  for (std::size_t from = list.find('"'); from != std::string::npos;) {
    const std::size_t to = list.find('"', from + 1);
    texts.push_back(list.substr(from + 1, to - from - 1));
    from = list.find('"', to + 1);
  }
  return texts;
}

// An app whose disk and contents are of one piece.
struct World {
  App app;
  MemoryDisk& disk = *app.disk;
  MemoryContents& contents = *app.contents;
  std::uint64_t clock = 116'444'736'000'050'000; // 5 ms after 1970

  World() {
    disk.volume(L"C:");
    disk.mayDelete = [this](const std::wstring& path) {
      if (!contents.isDeletable(path)) return false;
      contents.remove(path);
      return true;
    };
  }

  void write(const std::wstring& path, const std::string& content) {
    DiskNode& node = disk.add(path, content.size());
    node.size = content.size();
    node.lastWrite = ++clock;
    contents.add(path, content, node.id);
    contents.edit(path, [this](MemoryFile& file) { file.state.lastWrite = clock; });
  }

  void remove(const std::wstring& path) {
    if (DiskNode* node = disk.at(path)) disk.removeNode(*node);
    contents.remove(path);
  }

  std::string contentOf(const std::wstring& path) {
    std::string content;
    contents.edit(path, [&](MemoryFile& file) { content = file.content; });
    return content;
  }

  std::vector<std::string> compare(const std::vector<std::string>& paths) {
    std::string fields = "seen=1";
    for (const std::string& path : paths) fields += "&p=" + path;
    const std::string answer = runToEnd(app, "/api/verifydups", fields);
    std::vector<std::string> seen;
    for (std::size_t at = answer.find("\"seen\":\""); at != std::string::npos;
         at = answer.find("\"seen\":\"", at + 1)) {
      seen.push_back(answer.substr(at + 8, answer.find('"', at + 8) - at - 8));
    }
    return seen;
  }

  std::string removeCopy(const std::string& path, const std::string& seen, const std::string& keep,
                         const std::string& keepSeen) {
    return app.post("/api/delete", "permanent=1&p=" + path + "&seen=" + seen + "&keep=" + keep +
                                       "&keepseen=" + keepSeen);
  }
};

} // namespace

TEST_CASE("what was seen survives its way through the client, for its own path only") {
  const FileIdentity identity = {~0ULL, {1, 2}};
  SeenContents contents;
  contents.digest.fill(0xA7);
  contents.readAtMs = 1'700'000'000'000;
  for (const Seen& seen :
       {Seen{SeenKind::file, ~0ULL, 5, identity, contents},
        Seen{SeenKind::folder, 0, ~0ULL, identity, {}}, Seen{SeenKind::link, 3, 4, {}, {}},
        Seen{SeenKind::file, 3, 4, {}, contents}}) {
    const std::string text = seenText(seen, L"C:\\a\\B");
    CHECK(parseSeen(text, L"C:\\a\\B") == seen);
    CHECK(parseSeen(text, L"c:/A/b/") == seen);
    CHECK_FALSE(parseSeen(text, L"C:\\a\\C"));
    for (std::size_t length = 0; length < text.size(); ++length) {
      // Without its contents it is still a text of the kind that a dry run gives.
      const auto cut = parseSeen(text.substr(0, length), L"C:\\a\\B");
      CHECK((!cut || (!cut->contents && cut != seen)));
    }
    for (const char* more : {".", ".0", "x", ".0.0.0"})
      CHECK_FALSE(parseSeen(text + more, L"C:\\a\\B"));
  }
}

TEST_CASE("a deletion leaves alone what changed since the dry run") {
  const std::vector<std::pair<std::string, void (*)(MemoryDisk&)>> changes = {
      {"nothing", [](MemoryDisk&) {}},
      {"size", [](MemoryDisk& disk) { disk.at(L"C:\\r\\file")->size = 2; }},
      {"time", [](MemoryDisk& disk) { ++disk.at(L"C:\\r\\file")->lastWrite; }},
      {"identity", [](MemoryDisk& disk) { disk.at(L"C:\\r\\file")->id += 500; }},
      {"new file deep in the folder", [](MemoryDisk& disk) { disk.add(L"C:\\r\\d\\e\\n"); }},
      {"file in the folder", [](MemoryDisk& disk) { ++disk.at(L"C:\\r\\d\\e\\f")->lastWrite; }},
      {"name in the folder", [](MemoryDisk& disk) { disk.at(L"C:\\r\\d\\e\\f")->name = L"g"; }},
      {"unreadable folder in it", [](MemoryDisk& disk) { disk.unreadable = {L"C:\\r\\d\\none"}; }},
      {"another folder", [](MemoryDisk& disk) { disk.at(L"C:\\r\\d")->id += 500; }}};
  for (const auto& [what, change] : changes) {
    World world;
    world.disk.add(L"C:\\r\\file\\old", 9); // a folder when it is scanned
    world.write(L"C:\\r\\d\\e\\f", "abc");
    world.disk.add(L"C:\\r\\d\\none\\");
    world.disk.volume(L"T:", L"C:\\r"); // so that all forms of a path differ
    world.disk.at(L"C:\\r\\d")->shortName = L"D~1";
    world.disk.noBins = {L"C:\\"};
    world.app.scanned("T:%5C");
    world.remove(L"C:\\r\\file");
    world.write(L"C:\\r\\file", "x");
    const std::string fields = "job=1&p=T:%5Cfile&p=T:/D~1/";
    const std::string dry = world.app.post("/api/delete", fields + "&dryrun=1&seen=1");
    CHECK(dry.starts_with(
        R"(200 {"deleted":0,"bytes":4,"error":"","dryRun":true,"refused":[],"wouldDelete":["T:\\file","T:\\D~1"],"noBin":["T:\\file","T:\\D~1"],"seen":[)"));
    CHECK(dry.ends_with(R"("items":[{"s":1,"f":1,"m":5},{"s":3,"f":1,"m":0,"dir":true}]})"));
    const std::vector<std::string> seen = listIn(dry, "seen");
    REQUIRE(seen.size() == 2);
    change(world.disk);
    const std::string told =
        world.app.post("/api/delete", fields + "&permanent=1&seen=" + seen[0] + "&seen=" + seen[1]);
    const bool same = what == "nothing";
    const bool file = what.find("folder") == std::string::npos;
    CHECK(holds(told, same ? R"("deleted":2,)" : R"("deleted":1,)"));
    CHECK(holds(told, same   ? R"("refused":[],)"
                      : file ? R"("refused":[{"p":"T:\\file","why":"changed"}],)"
                             : R"("refused":[{"p":"T:\\D~1","why":"changed"}],)"));
    CHECK((world.disk.at(L"C:\\r\\file") == nullptr) == (same || !file));
    CHECK((world.disk.at(L"C:\\r\\d") == nullptr) == (same || file));
  }
}

TEST_CASE("a link that is not the one that was seen stays") {
  for (const bool changes : {true, false}) {
    World world;
    DiskNode& link = world.disk.link(L"C:\\link", L"C:\\none");
    const std::string dry = world.app.post("/api/delete", "p=C:%5Clink&dryrun=1&seen=1");
    CHECK(dry.ends_with(R"("items":[{"s":0,"f":0,"m":0}]})")); // no folder
    if (changes) ++link.lastWrite;
    const std::string told =
        world.app.post("/api/delete", "permanent=1&p=C:%5Clink&seen=" + listIn(dry, "seen").at(0));
    CHECK(holds(told, changes ? R"("why":"changed")" : R"("deleted":1,)"));
  }
}

TEST_CASE("what a client sends about a path cannot slip to another one") {
  World world;
  world.write(L"C:\\a", "x");
  world.write(L"C:\\b", "x");
  const auto told = [&world](const std::string& fields) {
    return world.app.post("/api/delete", "permanent=1&" + fields);
  };
  const std::string dry = world.app.post("/api/delete", "p=C:%5Ca&p=C:%5Cb&dryrun=1&seen=1");
  const std::vector<std::string> seen = listIn(dry, "seen");
  const std::string both = "p=C:%5Ca&p=C:%5Cb&seen=";
  CHECK(told(both + seen[0]) == R"(400 {"error":"incomplete"})");
  CHECK(told("p=C:%5Ca&seen=" + seen[0] + "&seen=") == R"(400 {"error":"incomplete"})");
  CHECK(told("p=C:%5Ca&p=C:%5Cb&keep=C:%5Cc") == R"(400 {"error":"incomplete"})");
  CHECK(holds(told(both + seen[1] + "&seen=" + seen[0]), R"("deleted":0,)"));
  CHECK(holds(told(both + "x&seen=" + seen[0] + "0"), R"("deleted":0,)"));
  // One good text does not make up for a bad one, and a dry run alone tells what it sees.
  CHECK(holds(told("p=C:%5Ca&seen=x&keep=C:%5Cb&keepseen=" + seen[1]), R"("deleted":0,)"));
  CHECK(told("p=C:%5Ca&seen=1").ends_with(R"("wouldDelete":[]})"));
  CHECK(holds(told(both + "&dryrun=1"), R"("refused":[])"));
  CHECK(world.disk.snapshot().size() == 3);
  // Only some of them were looked at.
  CHECK(holds(told(both + "&seen=" + seen[1]), R"("deleted":2,)"));
}

TEST_CASE("a copy goes only while it is equal to one that stays") {
  struct Row {
    const char* what;
    std::function<void(World&)> change;
    bool goes;
    std::uint64_t read; // bytes
  };
  const std::vector<Row> rows = {
      {"nothing", [](World&) {}, true, 0},
      {"copied over itself", [](World& w) { w.write(L"C:\\x\\copy", "same"); }, true, 8},
      {"changed", [](World& w) { w.write(L"C:\\x\\copy", "news"); }, false, 8},
      {"the other changed", [](World& w) { w.write(L"C:\\kept", "news"); }, false, 8},
      {"the other is gone", [](World& w) { w.remove(L"C:\\kept"); }, false, 0},
      {"the other is open for writing",
       [](World& w) {
         w.contents.edit(L"C:\\kept",
                         [](MemoryFile& file) { file.failure = FileFailure::unreadable; });
       },
       false, 0},
      {"the other is a name of this one",
       [](World& w) {
         w.remove(L"C:\\kept");
         w.write(L"C:\\kept", "same");
         std::uint64_t number = 0;
         w.contents.edit(L"C:\\x\\copy", [&](MemoryFile& f) { number = f.number; });
         w.contents.edit(L"C:\\kept", [&](MemoryFile& f) { f.number = number; });
       },
       false, 0}};
  for (const Row& row : rows) {
    CAPTURE(row.what);
    World world;
    world.write(L"C:\\x\\copy", "same");
    world.write(L"C:\\kept", "same");
    const auto seen = world.compare({"C:\\x\\copy", "C:\\kept"});
    REQUIRE(seen.size() == 2);
    row.change(world);
    // Windows lets a deleted file go only when nobody holds it.
    world.disk.onLook = [&world, shellCalls = &world.disk.shellCalls](const std::wstring&) {
      if (*shellCalls > 0) CHECK(world.contents.isWritable(L"C:\\kept"));
    };
    world.contents.bytesRead = 0;
    const std::string told = world.removeCopy("C:\\x\\copy", seen[0], "C:\\kept", seen[1]);
    CHECK(holds(told, row.goes ? R"("deleted":1,)" : R"("why":"changed")"));
    CHECK((world.disk.at(L"C:\\x\\copy") == nullptr) == row.goes);
    CHECK(world.contents.bytesRead == row.read);
    CHECK(world.contents.isWritable(L"C:\\kept"));
  }
}

TEST_CASE(
    "contents are compared with what was seen of them, or with a copy of which nothing was seen") {
  for (const bool copy : {true, false}) {
    for (const std::string what : {"the same", "other contents", "another time at its path"}) {
      CAPTURE(what);
      World world;
      world.write(L"C:\\x\\copy", "same");
      world.write(L"C:\\kept", "same");
      const std::string seen = world.compare({"C:\\x\\copy", "C:\\kept"}).at(0);
      const bool same = what == "the same";
      if (what == "other contents") world.write(L"C:\\x\\copy", "news");
      world.disk.onLook = [&](const std::wstring& path) {
        const bool held = !world.contents.isWritable(L"C:\\x\\copy");
        if (!same && held && equalsIgnoreCase(path, L"C:\\x\\copy")) {
          world.disk.at(path)->lastWrite = 99;
        }
      };
      const std::string told = copy ? world.removeCopy("c:\\X\\copy", "", "C:\\kept", "")
                                    : world.removeCopy("c:\\X\\copy", seen, "", "");
      CHECK(holds(told, same ? R"("deleted":1,)" : R"("why":"changed")"));
    }
  }
}

TEST_CASE("the copy that stays does not go in the same request") {
  World world;
  for (const wchar_t* path : {L"C:\\a", L"C:\\b", L"C:\\d\\c"}) world.write(path, "same");
  const auto seen = world.compare({"C:\\a", "C:\\b", "C:\\d\\c"});
  REQUIRE(seen.size() == 3);
  const auto told = [&](const std::string& fields) {
    return world.app.post("/api/delete", "permanent=1&" + fields);
  };
  CHECK(holds(told("p=C:%5Ca&p=C:%5Cb&seen=" + seen[0] + "&seen=" + seen[1] +
                   "&keep=C:%5Cb&keep=C:%5CA&keepseen=" + seen[1] + "&keepseen="),
              R"("deleted":0,)"));
  CHECK(holds(told("p=C:%5Ca&p=C:%5Cd&seen=" + seen[0] +
                   "&seen=&keep=C:%5Cd%5Cc&keep=&keepseen=" + seen[2] + "&keepseen="),
              R"("refused":[{"p":"C:\\a","why":"changed"}],"wouldDelete":["C:\\d"])"));
  CHECK(world.disk.at(L"C:\\a") != nullptr);
}

// A file changes at one of all the moments at which the program asks for something. Whatever the
// moment, the shell never gets a last copy, nor contents that nobody saw. VORDA_ROUNDS sets the
// number of rounds, VORDA_SEED what they do.
TEST_CASE("files that change at any moment of a deletion") {
  const auto setting = [](const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
  };
  std::mt19937 random(setting("VORDA_SEED", 7));
  const unsigned rounds = setting("VORDA_ROUNDS", 60);
  unsigned gone = 0;
  unsigned refused = 0;
  for (unsigned round = 0; round < rounds; ++round) {
    World world;
    const std::vector<std::string> names = {"C:\\a\\1", "C:\\b\\2", "C:\\3", "C:\\plain"};
    for (const std::string& name : names) world.write(toUtf16(name), "same");
    const auto seen = world.compare({names[0], names[1], names[2]});
    const std::string dry = world.app.post("/api/delete", "p=" + names[3] + "&dryrun=1&seen=1");
    const std::string plainSeen = listIn(dry, "seen").at(0);

    unsigned step = 0;
    const auto when = static_cast<unsigned>(random() % 60);
    const auto moment = [&] {
      if (step++ != when) return;
      const std::wstring path = toUtf16(names[random() % names.size()]);
      if (world.disk.at(path) == nullptr) return;
      switch (random() % 3) {
      case 0:
        if (world.contents.isWritable(path)) world.write(path, "news");
        break;
      case 1:
        if (!world.contents.isDeletable(path)) break;
        world.remove(path);
        break;
      default: // another file takes its place, with the same size and time
        if (!world.contents.isWritable(path)) break;
        const std::uint64_t time = world.disk.at(path)->lastWrite;
        world.remove(path);
        world.write(path, "else");
        world.disk.at(path)->lastWrite = time;
        world.contents.edit(path, [&](MemoryFile& f) { f.state.lastWrite = time; });
      }
    };
    const auto atPath = [&moment](const std::wstring&) { moment(); };
    world.disk.onHold = atPath;
    world.disk.onLook = atPath;
    world.contents.onOpen = atPath;
    world.contents.onRead = atPath;
    // The last moment is before the last look; what the shell does after that is its own.
    const auto take = world.disk.mayDelete;
    world.disk.mayDelete = [&](const std::wstring& path) {
      if (world.disk.at(path) == nullptr) return false; // somebody else deleted it
      CHECK(world.contentOf(path) == "same");
      if (path != L"C:\\plain") CHECK(world.contentOf(L"C:\\3") == "same");
      ++gone;
      return take(path);
    };
    const std::string told = world.app.post(
        "/api/delete", "permanent=1&p=" + names[0] + "&p=" + names[1] + "&p=" + names[3] +
                           "&seen=" + seen[0] + "&seen=" + seen[1] + "&seen=" + plainSeen +
                           "&keep=C:%5C3&keep=C:%5C3&keep=&keepseen=" + seen[2] +
                           "&keepseen=" + seen[2] + "&keepseen=");
    CHECK(told.starts_with("200"));
    if (holds(told, "\"why\"")) ++refused;
  }
  // Both happen often, or the rounds show nothing.
  CHECK(gone > rounds);
  CHECK(refused > rounds / 8);
}
