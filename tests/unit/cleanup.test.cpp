#include "fileops/cleanup.h"

#include "fileops/journal.h"
#include "rules/safety_rules.h"
#include "support/fresh_scan.h"
#include "support/runs.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("only the ends of these paths are cleanable") {
  CHECK(isCleanableFolder(L"C:\\Windows\\Temp\\"));
  CHECK(isCleanableFolder(L"c:/windows/temp"));
  CHECK(isCleanableFolder(L"C:\\Users\\anna\\AppData\\Local\\Temp"));
  CHECK(isCleanableFolder(L"C:\\Windows\\SoftwareDistribution\\Download//"));
  for (const wchar_t* path : {L"C:\\Windows", L"D:\\temp", L"C:\\Windows\\Temp\\x", L"",
                              L"C:\\XWindows\\Temp", L"C:\\AppData\\Temp"}) {
    CHECK_FALSE(isCleanableFolder(path));
  }
}

TEST_CASE("a folder that is missing, a link or not cleanable is not emptied") {
  MemoryDisk disk;
  disk.add(L"C:\\Windows\\Tempo\\x");
  for (const wchar_t* path : {L"C:\\Windows\\Tempo", L"\\Windows\\Temp"}) {
    CHECK(cleanFolder(disk, disk, path).failure == CleanupFailure::notAllowed);
  }
  CHECK(cleanFolder(disk, disk, L"C:\\none\\Windows\\Temp").failure == CleanupFailure::unreadable);
  disk.add(L"E:\\moved\\Windows\\Temp\\x");
  disk.add(L"C:\\moved\\Windows\\");
  disk.link(L"C:\\moved\\Windows\\Temp", L"E:\\moved\\Windows\\Temp");
  CHECK(cleanFolder(disk, disk, L"C:\\moved\\Windows\\Temp").failure == CleanupFailure::notAllowed);
  CHECK(previewCleanup(disk, disk, L"C:\\Windows\\Tempo").measure.bytes == 0);
  disk.add(L"D:\\Windows\\Temp"); // a file
  CHECK(cleanFolder(disk, disk, L"D:\\Windows\\Temp").failure == CleanupFailure::notAllowed);
  // A link that appears once the folder was found missing.
  disk.onOpen = [&disk](const std::wstring& path) { disk.link(path, L"E:\\moved\\Windows\\Temp"); };
  CHECK(cleanFolder(disk, disk, L"E:\\Windows\\Temp").failure == CleanupFailure::unreadable);
  // One that somebody could replace by a link while it is emptied.
  disk.notHeld = {L"E:\\moved\\Windows\\Temp"};
  CHECK(cleanFolder(disk, disk, L"E:\\moved\\Windows\\Temp").failure == CleanupFailure::unreadable);
  disk.notHeld.clear();
  disk.finalPlaces = false;
  CHECK(cleanFolder(disk, disk, L"E:\\moved\\Windows\\Temp").failure == CleanupFailure::notAllowed);
  CHECK(disk.at(L"E:\\moved\\Windows\\Temp\\x") != nullptr);
  CHECK(disk.shellCalls == 0);
}

TEST_CASE("a folder is emptied under any name that no link is part of") {
  for (const wchar_t* path : {L"c:/windows/TEMP/", L"S:\\Windows\\Temp", L"C:\\mnt\\Windows\\Temp",
                              L"C:\\LONGNA~1\\Windows\\Temp"}) {
    MemoryDisk disk;
    disk.journalFails = true;
    disk.add(L"C:\\mnt\\Windows\\Temp\\");
    disk.at(L"C:\\mnt")->mount = true;
    disk.add(L"C:\\Long name\\Windows\\Temp\\");
    disk.at(L"C:\\Long name")->shortName = L"LONGNA~1";
    disk.add(L"C:\\Windows\\Temp\\");
    disk.volume(L"S:", L"C:\\");
    const std::wstring folder = normalisePath(path);
    disk.add(folder + L"\\x", 3);
    disk.mayDelete = [&](const std::wstring&) { return disk.isHeld(folder); };
    const CleanupResult result = cleanFolder(disk, disk, path);
    CHECK(result.deleted == 1);
    CHECK(result.bytes == 3);
  }
}

TEST_CASE("only what the shell says it deleted counts as deleted") {
  MemoryDisk disk;
  disk.add(L"C:\\Windows\\Temp\\a", 3);
  disk.aborts = true;
  CHECK(cleanFolder(disk, disk, L"C:\\Windows\\Temp").skipped == 1);
  disk.aborts = false;
  disk.lies = disk.add(L"C:\\Windows\\Temp\\held", 3).locked = true;
  CHECK(cleanFolder(disk, disk, L"C:\\Windows\\Temp").deleted == 0);
  disk.lies = false;
  disk.removeNode(*disk.at(L"C:\\Windows\\Temp\\held"));
  disk.add(L"C:\\Windows\\Temp\\b", 3);
  disk.mayDelete = [&disk](const std::wstring& path) { // its owner deletes it
    disk.removeNode(*disk.at(path));
    return false;
  };
  const CleanupResult result = cleanFolder(disk, disk, L"C:\\Windows\\Temp");
  CHECK(result.deleted == 0);
  CHECK(result.skipped == 1);
  // Nobody can look afterwards: the line is written before the next cleanup.
  disk.mayDelete = nullptr;
  disk.log.clear();
  disk.add(L"C:\\Windows\\Temp\\c", 5);
  disk.onLook = [&, calls = disk.shellCalls](const std::wstring&) {
    if (disk.shellCalls > calls) throw std::bad_alloc();
  };
  CHECK(cleanFolder(disk, disk, L"C:\\Windows\\Temp").outOfMemory);
  disk.onLook = nullptr;
  cleanFolder(disk, disk, L"C:\\Windows\\Temp");
  CHECK(
      disk.log.starts_with("2026-01-02 03:04:05  LEEGGEMAAKT (onderbroken)  5  C:\\Windows\\Temp"));
}

TEST_CASE("temporary folders are emptied as far as possible") {
  App app;
  MemoryDisk& disk = *app.disk;
  disk.add(L"C:\\Windows\\Temp\\big.bin", 1100 * kMiB);
  disk.add(L"C:\\Windows\\Temp\\old\\deep\\a.tmp", 10);
  disk.add(L"C:\\Windows\\Temp\\used\\free.tmp", 20);
  disk.add(L"C:\\Windows\\Temp\\used\\held.tmp", 30).locked = true;
  // The shell would read these as the parent folder, all files, or a device.
  for (const wchar_t* name : {L".. ", L"x.", L"<", L"nul", L"*"}) {
    disk.addFile(L"C:\\Windows\\Temp", name, 0);
  }
  disk.add(L"C:\\Windows\\system.ini", 5);
  disk.add(L"C:\\Users\\eve\\AppData\\Local\\Temp\\e.tmp", 7);
  disk.add(L"C:\\Users\\anna\\Documents\\AppData\\Local\\Temp\\thesis", 8);
  const auto job = app.scanJob("C:%5C");
  // Eve has replaced her folder by a link since the scan.
  disk.removeNode(*disk.at(L"C:\\Users\\eve\\AppData"));
  disk.link(L"C:\\Users\\eve\\AppData", L"C:\\Users\\anna\\Documents\\AppData");

  CHECK(app.post("/api/cleanup", "what=tempfiles&job=7") == R"(404 {"error":"noJob"})");
  CHECK(app.post("/api/cleanup", "what=downloads&job=1") == R"(400 {"error":"notAllowed"})");
  const std::string none = R"(200 {"ok":true,"deleted":0,"skipped":0,"folders":0,"bytes":0})";
  CHECK(app.post("/api/cleanup", "what=updates&job=1") == none);
  disk.removeNode(*disk.at(L"C:\\Users\\anna"));
  disk.add(L"C:\\Users\\anna\\Documents\\AppData\\Local\\Temp\\thesis", 8).locked = true;
  const std::string told = app.post("/api/cleanup", "what=tempfiles&job=1");
  // In Temp two entries were deleted, one is in use and five are skipped; Anna's folder, which
  // the advice lists, only has one in use; Eve's is skipped.
  CHECK(told == R"(200 {"ok":true,"deleted":2,"skipped":8,"folders":2,"bytes":1153433630})");
  CHECK(
      disk.log ==
      "2026-01-02 03:04:05  LEEGGEMAAKT  1153433630  C:\\Windows\\Temp  (2 weg, 6 overgeslagen)\r\n"
      "2026-01-02 03:04:05  LEEGGEMAAKT  0  C:\\Users\\anna\\Documents\\AppData\\Local\\Temp  "
      "(0 weg, 1 overgeslagen)\r\n");
  CHECK(disk.at(L"C:\\Windows\\system.ini") != nullptr);
  CHECK(disk.at(L"C:\\Windows\\Temp")->children.size() == 6);
  CHECK(job->freed == 1153433630);
  disk.lies = true;
  CHECK(app.post("/api/cleanup", "what=tempfiles&job=1") == none);
  CHECK(cleanFolder(disk, disk, L"C:\\Windows\\Temp").deleted == 0);
  // Undo the link, which the scan does not know.
  disk.removeNode(*disk.at(L"C:\\Users\\eve\\AppData"));
  disk.add(L"C:\\Users\\eve\\AppData\\Local\\Temp\\e.tmp", 7);
  checkLikeFreshScan(app, *job);
}

TEST_CASE("a link in a temporary folder is not followed, and a log that fails is told") {
  App app;
  MemoryDisk& disk = *app.disk;
  disk.add(L"C:\\Windows\\Temp\\big.bin", 1100 * kMiB);
  disk.add(L"C:\\Windows\\Temp\\far\\" + std::wstring(250, L'x'), 5);
  disk.link(L"C:\\Windows\\Temp\\in\\link", L"C:\\Users\\anna\\Documents");
  disk.add(L"C:\\Users\\anna\\Documents\\thesis", 8);
  disk.add(L"C:\\Windows\\sub\\AppData\\Local\\Temp\\e", 7);
  const auto job = app.scanJob("C:%5CWindows");
  disk.beforeShell = [&disk] { // the folder grows
    disk.add(L"C:\\Windows\\Temp\\big.bin").size *= 2;
    throw std::bad_alloc();
  };
  CHECK(app.post("/api/cleanup", "what=tempfiles&job=1") == R"(500 {"error":"noMemory"})");
  CHECK(job->freed == 0);
  disk.beforeShell = nullptr;
  disk.mayDelete = [&disk](const std::wstring& path) {
    disk.logFails = !path.ends_with(L"e"); // for the first of the two folders
    return true;
  };
  CHECK(app.post("/api/cleanup", "what=tempfiles&job=1") ==
        R"(200 {"ok":true,"deleted":4,"skipped":0,"folders":2,"bytes":2306867212,"logged":false})");
  CHECK(disk.handed.front() == L"C:\\Windows\\Temp\\big.bin");
  CHECK(disk.handed.size() == 2);
  CHECK(disk.at(L"C:\\Users\\anna\\Documents\\thesis") != nullptr);
  CHECK(disk.journals.empty());
}

TEST_CASE("a cleanup that is cut off gets its line later") {
  App app;
  MemoryDisk& disk = *app.disk;
  disk.add(L"C:\\Windows\\Temp\\in\\x", 5);
  disk.add(L"C:\\Windows\\Temp\\in\\held").locked = true;
  disk.add(L"C:\\Windows\\Temp\\a.bin", 1100 * kMiB);
  disk.add(L"C:\\Windows\\Temp\\b.bin", 3);
  app.scanJob("C:%5CWindows");
  disk.mayDelete = [&disk](const std::wstring& path) {
    disk.dead = disk.dead || path.ends_with(L"b.bin");
    if (disk.dead) disk.at(path)->size = 1; // by somebody else
    return !disk.dead;
  };
  app.post("/api/cleanup", "what=tempfiles&job=1");
  disk.dead = false;
  CHECK(disk.log.empty());
  finishInterrupted(disk, disk);
  CHECK(disk.log ==
        "2026-01-02 03:04:05  LEEGGEMAAKT (onderbroken)  1153433605  C:\\Windows\\Temp  "
        "(1 weg, 2 overgeslagen)\r\n");
}

TEST_CASE("of a drive that went during a cleanup nothing is claimed, and its line comes later") {
  for (const bool withJournal : {true, false}) {
    App app;
    MemoryDisk& disk = *app.disk;
    disk.journalFails = !withJournal;
    disk.add(L"E:\\Windows\\Temp\\a", 1100 * kMiB);
    disk.add(L"E:\\Windows\\Temp\\b\\c", 20);
    disk.volume(L"F:", L"E:\\");
    const auto job = app.scanJob("E:%5CWindows");
    disk.beforeShell = [&disk] {
      if (disk.shellCalls > 0) return;
      disk.removeNode(*disk.at(L"E:\\Windows\\Temp\\a"));
      disk.volume(L"E:", L"E:\\none");
    };
    CHECK(app.post("/api/cleanup", "what=tempfiles&job=1") ==
          R"(200 {"ok":true,"deleted":0,"skipped":2,"folders":1,"bytes":0})");
    CHECK(job->result.byteCount == 1100 * kMiB + 20);
    CHECK(job->freed == 0);
    CHECK_FALSE(job->rootGone);
    CHECK(disk.log.empty() == withJournal);
    if (!withJournal) continue;
    disk.volume(L"E:", L"F:\\");
    finishInterrupted(disk, disk);
    CHECK(disk.log == "2026-01-02 03:04:05  LEEGGEMAAKT (onderbroken)  1153433600  "
                      "E:\\Windows\\Temp  (1 weg, 1 overgeslagen)\r\n");
  }
}

TEST_CASE("a cleanup is seen in all scans") {
  App app;
  app.disk->add(L"C:\\Windows\\Temp\\in\\a.bin", 1100 * kMiB);
  app.disk->add(L"C:\\Windows\\Temp\\half\\b.log", 3);
  app.disk->add(L"C:\\Windows\\Temp\\half\\held", 4).locked = true;
  app.disk->add(L"C:\\Windows\\sub\\x", 3);
  app.disk->volume(L"S:", L"C:\\");
  app.disk->add(L"C:\\Windows\\Temp\\half\\c.tmp", 1);
  const auto half = app.scanJob("C:%5CWindows%5CTemp%5Chalf");
  app.disk->removeNode(*app.disk->at(L"C:\\Windows\\Temp\\half\\c.tmp"));
  const auto outer = app.scanJob("C:%5C");
  const auto named = app.scanJob("S:%5CWindows");
  const auto inner = app.scanJob("C:%5CWindows%5CTemp%5Cin");
  const auto besides = app.scanJob("C:%5CWindows%5Csub");
  const std::string before = *besides->document;
  app.disk->at(L"C:\\Windows\\Temp\\half\\b.log")->size = 13; // of which only the cleanup knows
  app.post("/api/cleanup", "what=tempfiles&job=3");
  for (const auto& one : {outer, named, half}) checkLikeFreshScan(app, *one);
  CHECK(outer->freed == 1100 * kMiB + 13);
  CHECK(half->freed == 4);
  CHECK_FALSE((outer->rootGone || half->rootGone));
  CHECK(inner->rootGone);
  CHECK(inner->freed == 1100 * kMiB);
  CHECK(inner->result.byteCount == 0);
  CHECK(*besides->document == before);
}

TEST_CASE("what would be emptied can be seen before") {
  App app;
  app.disk->add(L"C:\\Windows\\Temp\\a\\b.tmp", 700 * kMiB);
  app.disk->add(L"C:\\Windows\\Temp\\c.tmp", 500 * kMiB);
  app.disk->add(L"C:\\Users\\anna\\AppData\\Local\\Temp\\d.tmp", 5);
  app.disk->add(L"C:\\other\\x", 1);
  app.scanned("C:%5C");
  const std::string path = "/api/cleanable?what=tempfiles&job=";
  const auto before = app.disk->snapshot();
  CHECK(app.get(path + "1") ==
        R"(200 {"folders":[{"p":"C:\\Windows\\Temp","s":1258291200,"f":2,"entries":2},)"
        R"({"p":"C:\\Users\\anna\\AppData\\Local\\Temp","s":5,"f":1,"entries":1}]})");
  CHECK(app.disk->snapshot() == before);
  CHECK(app.disk->log.empty());

  app.disk->removeNode(*app.disk->at(L"C:\\Windows\\Temp"));
  app.disk->link(L"C:\\Windows\\Temp", L"C:\\other");
  app.disk->unreadable = {L"C:\\Users\\anna\\AppData\\Local\\Temp"};
  CHECK(app.get(path + "1") ==
        R"(200 {"folders":[{"p":"C:\\Windows\\Temp","why":"notAllowed"},)"
        R"({"p":"C:\\Users\\anna\\AppData\\Local\\Temp","why":"unreadable"}]})");

  CHECK(app.get(path + "2") == R"(404 {"error":"noJob"})");
  CHECK(app.get(path) == R"(404 {"error":"noJob"})");
  CHECK(app.get("/api/cleanable?job=1&what=caches") == R"(400 {"error":"notAllowed"})");

  app.disk->binBytes = 9;
  app.disk->binItems = 2;
  CHECK(app.get("/api/bins") ==
        R"(200 {"bytes":9,"items":2,"bins":[{"p":"C:\\","bytes":9,"items":2}]})");
  app.state.targets = [one = app.state.targets] {
    TargetList list = one();
    list.drives.push_back(list.drives.front());
    list.drives.back().path = L"D:\\";
    return list;
  };
  CHECK(app.get("/api/bins") == R"(200 {"bytes":9,"items":2,"bins":[]})"); // shared
  app.disk->noBins = {L"D:\\"};
  app.disk->binBytes = 0; // of empty files
  CHECK(app.get("/api/bins") ==
        R"(200 {"bytes":0,"items":2,"bins":[{"p":"C:\\","bytes":0,"items":2}]})");
  CHECK(app.disk->binItems == 2);

  CHECK(app.post("/api/openbin") == R"(200 {"ok":true})");
  app.state.remote = true;
  CHECK(app.post("/api/openbin") == R"(400 {"error":"notAllowed"})");
  CHECK(app.binsOpened == 1);
}
