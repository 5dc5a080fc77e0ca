#include "fileops/recycle_bin.h"
#include "support/fresh_scan.h"

using namespace vorda;
using namespace vorda::test;

namespace {

void fill(MemoryDisk& disk) {
  disk.cluster = 4096;
  for (const wchar_t* path : {L"C:\\r\\a\\big.iso", L"C:\\r\\a\\deep\\more\\big.ISO",
                              L"C:\\r\\b\\other.bin", L"C:\\r\\top.bin"}) {
    disk.add(path, 70 * kMiB);
  }
  for (const wchar_t* path :
       {L"C:\\r\\a\\small.txt", L"C:\\r\\b\\s.txt", L"C:\\r\\loose.txt", L"C:\\r\\b\\c\\s.iso"}) {
    disk.add(path, 100);
  }
  disk.add(L"C:\\r\\empty\\");
  disk.link(L"C:\\r\\link", L"C:\\elsewhere");
  disk.add(L"C:\\elsewhere\\x");
}

} // namespace

TEST_CASE("after a deletion the result equals that of a new scan") {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"p=C:%5Cr%5Ca", R"("deleted":1,"bytes":146800740,"freed":146800740,"binned":0,)"},
      {"p=C:%5Cr%5Ca%5Cdeep&p=C:%5Cr%5Cb%5Cs.txt&p=C:%5Cr%5Ctop.bin",
       R"("deleted":3,"bytes":146800740,"freed":146800740,"binned":0,)"},
      {"p=c:/R/loose.TXT&p=C:%5Cr%5Cempty&p=C:%5Cr%5Clink", R"("deleted":3,"bytes":100,)"},
      {"p=C:%5Cr%5Cb&p=C:%5Cr%5CLocked&p=C:%5Cr%5Cstuck",
       R"("deleted":1,"bytes":157286603,"freed":157286603,"binned":0,)"}};
  for (const auto& [fields, outcome] : rows) {
    App app;
    fill(*app.disk);
    app.disk->add(L"C:\\r\\locked\\in\\use.bin", 70 * kMiB).locked = true;
    app.disk->add(L"C:\\r\\locked\\in\\free.bin", 80 * kMiB);
    app.disk->add(L"C:\\r\\locked\\in\\gone\\free.txt", 3);
    app.disk->add(L"C:\\r\\stuck\\use.bin", 5).locked = true;
    const auto job = app.scanJob("C:%5Cr");
    const std::size_t indices = job->result.folders.size();
    const std::string dry = app.post("/api/delete", fields + "&job=1&permanent=1&dryrun=1");
    CHECK(job->freed == 0);
    const std::string told = app.post("/api/delete", fields + "&job=1&permanent=1");
    CHECK(holds(told, outcome));
    CHECK(app.disk->shellCalls == 1);
    const std::string refused = told.substr(told.find("\"refused\""));
    std::string partial;
    if (told.find("failed") == std::string::npos) {
      CHECK(numberIn(dry, "bytes") == numberIn(told, "bytes"));
    } else {
      partial = R"("partial":[{"p":"C:\\r\\Locked","bytes":83886083}])";
    }
    CHECK(dry.substr(dry.find("\"refused\"")) ==
          refused.substr(0, refused.find(']', refused.find("wouldDelete")) + 1) + ",\"noBin\":[]}");
    CHECK(told.ends_with("]" + (partial.empty() ? partial : "," + partial) + "}"));
    CHECK(job->result.folders.size() == indices);
    CHECK(job->document->find("\"freed\":" + std::to_string(job->freed)) != std::string::npos);
    checkLikeFreshScan(app, *job);
  }
}

TEST_CASE("folders whose names differ in case only stay two when they are listed again") {
  for (const bool renamed : {false, true}) {
    App app;
    app.disk->cluster = 512;
    app.disk->add(L"C:\\r\\held\\Src\\use.bin", 60 * kMiB).locked = true;
    app.disk->add(L"C:\\r\\held\\Src\\deep\\use.txt", 3).locked = true;
    app.disk->add(L"C:\\r\\held\\Src\\free.txt", 5);
    app.disk->add(L"C:\\r\\held\\other\\use.bin", 70 * kMiB).locked = true;
    app.disk->add(L"C:\\r\\held\\other\\free.txt", 7);
    if (!renamed) app.disk->at(L"C:\\r\\held\\other")->name = L"src";
    const auto job = app.scanJob("C:%5Cr");
    if (renamed) {
      app.disk->at(L"C:\\r\\held\\Src")->name = L"sRC";
      app.disk->at(L"C:\\r\\held\\other")->name = L"Src";
    }
    app.post("/api/delete", "job=1&permanent=1&p=C:%5Cr%5Cheld");
    CHECK(job->freed == 12);
    checkLikeFreshScan(app, *job);
  }
}

TEST_CASE("deleting into the bin and emptying it") {
  App app;
  fill(*app.disk);
  app.disk->add(L"C:\\$Recycle.Bin\\S-1\\$Rold.txt", 5 * kMiB);
  const auto drive = app.scanJob("C:%5C");
  CHECK(app.post("/api/delete", "job=1&p=C:%5Cr%5Cb%5Cother.bin&p=C:%5Cr%5Cb%5Cs.txt") ==
        R"(200 {"deleted":2,"bytes":73400420,"freed":0,"binned":73400420,"error":"",)"
        R"("dryRun":false,"refused":[],"wouldDelete":["C:\\r\\b\\other.bin","C:\\r\\b\\s.txt"]})");
  CHECK(drive->freed == 0);
  CHECK(drive->binned == 73400420);
  const auto fresh = app.scanJob("C:%5C");
  CHECK(firstDifference(outsideBin(*drive), outsideBin(*fresh)) == "");

  app.disk->emptyResult = static_cast<std::int32_t>(0x80004005);
  CHECK(app.post("/api/emptybin") ==
        R"(500 {"ok":false,"bytes":0,"items":0,"error":"emptyFailed"})");
  CHECK(drive->binned == 73400420);
  CHECK(drive->freed == 0);
  app.disk->emptyResult = 0;
  CHECK(app.post("/api/emptybin") == R"(200 {"ok":true,"bytes":73400420,"items":2})");
  CHECK(drive->binned == 0);
  CHECK(drive->freed == 73400420 + 5 * kMiB);
  checkLikeFreshScan(app, *drive);
  // An empty bin is not a failure, whatever the shell returns.
  for (const std::uint32_t code : {0x80070002U, 0x8000FFFFU}) {
    app.disk->emptyResult = static_cast<std::int32_t>(code);
    CHECK(app.post("/api/emptybin") == R"(200 {"ok":true,"bytes":0,"items":0})");
  }
  app.disk->emptyResult = static_cast<std::int32_t>(0x80004005);
  CHECK(app.post("/api/emptybin").starts_with("500"));
  app.disk->emptyResult = static_cast<std::int32_t>(0x8000FFFF);
  app.disk->binsAreHidden = true;
  CHECK(app.post("/api/emptybin").starts_with("500"));
  app.disk->binsAreHidden = false;
  app.disk->binItems = 1;
  CHECK(app.post("/api/emptybin").starts_with("500"));
}

TEST_CASE(
    "an emptied bin that is gone holds nothing, and one that cannot be read stays as it was") {
  const std::wstring bin = L"C:\\$Recycle.Bin\\S-1";
  for (const char* what : {"gone", "unreadable", "no memory"}) {
    CAPTURE(what);
    App app;
    fill(*app.disk);
    app.disk->add(bin + L"\\$Rold.txt", 5);
    app.disk->add(L"\\\\srv\\share\\x", 3);
    const auto drive = app.scanJob("C:%5C");
    const auto share = app.scanJob("%5C%5Csrv%5Cshare");
    app.disk->onOpen = [&](const std::wstring& path) {
      if (path != bin || !app.disk->at(bin)->children.empty()) return;
      if (std::string_view(what) == "gone") app.disk->removeNode(*app.disk->at(bin));
      if (std::string_view(what) == "unreadable") app.disk->unreadable = {bin};
      if (std::string_view(what) == "no memory") throw std::bad_alloc();
    };
    CHECK(app.post("/api/emptybin").starts_with("200"));
    CHECK(drive->freed == (std::string_view(what) == "gone" ? 5 : 0));
    CHECK(share->freed == 0);
  }
}

TEST_CASE("only bins of drives are measured, each of them once") {
  MemoryDisk disk;
  disk.add(L"C:\\$Recycle.Bin\\S-1\\x");
  BinsOfDrives bins(disk, disk);
  for (const wchar_t* root : {L"\\\\srv\\share", L"/home", L"C:\\", L"c:\\r"}) bins.measure(root);
  bins.measureAgain();
  CHECK(disk.listed == 2);
  disk.sid.clear(); // then there is no telling whose bin is whose
  BinsOfDrives none(disk, disk);
  none.measure(L"C:\\");
  none.measureAgain();
  CHECK(disk.listed == 2);
}

TEST_CASE("emptying the bin frees binned bytes in scans that do not contain it") {
  App app;
  fill(*app.disk);
  app.disk->add(L"D:\\x", 3);
  const auto folder = app.scanJob("C:%5Cr");
  const auto other = app.scanJob("D:%5C");
  const auto remote = app.scanJob("D:%5C");
  remote->kind = kSshKind;
  const auto running = app.scanJob("D:%5C");
  running->resultReady = false;
  remote->binned = running->binned = 9;
  const auto part = app.scanJob("C:%5Cr%5Cb");
  app.post("/api/delete", "job=1&p=C:%5Cr%5Cloose.txt&p=C:%5Cr%5Cb");
  app.post("/api/delete", "job=2&p=D:%5Cx");
  CHECK(folder->binned == 73400620);
  CHECK(part->binned == 73400520);
  checkLikeFreshScan(app, *folder);
  app.disk->sid.clear(); // nobody knows which bin is the user's
  CHECK(app.post("/api/emptybin").starts_with("200"));
  CHECK(folder->freed == 73400620);
  CHECK(other->freed == 3);
  CHECK(other->document->find("\"freed\":3,\"binned\":0") != std::string::npos);
  CHECK(remote->binned + running->binned == 18);
  CHECK(running->freed == 0);
}

TEST_CASE("a bin that takes only a part and has no folder for the user yet") {
  App app;
  fill(*app.disk);
  app.disk->add(L"C:\\$Recycle.Bin\\desktop.ini", 0);
  for (int i = 0; i < 4; ++i) app.disk->add(L"C:\\p\\" + std::to_wstring(i), 25);
  app.disk->add(L"C:\\p\\held", 5).locked = true;
  const auto job = app.scanJob("C:%5C");
  app.post("/api/delete", "job=1&permanent=1&p=C:%5Cr%5Cempty");
  CHECK_FALSE(findFolder(job->result.folders, L"C:\\", L"C:\\$Recycle.Bin\\S-1"));
  const std::uint64_t before = job->result.byteCount;
  app.disk->binsNothing = true;
  app.disk->beforeShell = [&app] { app.disk->binBytes += 75; };
  CHECK(holds(app.post("/api/delete", "job=1&p=C:%5Cp"), R"("freed":25,"binned":75,)"));
  const FolderTable& folders = job->result.folders;
  const auto bin = findFolder(folders, L"C:\\", L"C:\\$Recycle.Bin\\S-1");
  REQUIRE(bin);
  CHECK(folders[*bin].totalBytes == 75);
  CHECK(folders[*bin].totalFiles == 3); // of 4
  CHECK(folders[0].totalBytes == before - 25);
  CHECK(job->result.byteCount == before - 25);
  CHECK(job->freed == 25);
  CHECK(job->binned == 75);
  CHECK(holds(app.get("/api/types?id=1"), R"("s":6,"c":2})"));
}

TEST_CASE("incomplete requests and unusable scans change nothing") {
  App app;
  fill(*app.disk);
  app.scanJob("C:%5Cr");
  app.post("/api/scan", "path=C:%5Cnone");
  app.waitUntilDone(2);
  const auto before = app.disk->snapshot();
  const std::string cut = "p=C:%5Cr%5Ca&job=1";
  for (const char* length : {"17", "19", "40", "018", "", "x"}) {
    for (const char* path : {"/api/delete", "/api/cleanup"}) {
      CHECK(app.post(path, cut, {{"content-length", length}}) == R"(400 {"error":"incomplete"})");
    }
  }
  for (const char* job : {"", "2", "3", "x", "1x", "-1", "0"}) {
    CHECK(app.post("/api/delete", std::string("p=C:%5Cr%5Ca&job=") + job) ==
          R"(404 {"error":"noJob"})");
  }
  const std::wstring root = std::exchange(app.state.jobs.find(1)->result.rootPath, L"");
  CHECK(app.post("/api/delete", cut) == R"(404 {"error":"noJob"})");
  app.state.jobs.find(1)->result.rootPath = root;
  CHECK(app.post("/api/delete", "job=1&dryrun=1") == R"(400 {"error":"niets opgegeven"})");
  // Only "1" sets a field, and the first of two fields counts.
  CHECK(holds(app.post("/api/delete", "p=C:%5Cr%5Ca&dryrun=1&dryrun=0"), "\"dryRun\":true"));
  CHECK(holds(app.post("/api/delete", "p=C:%5C&dryrun=01"), "\"dryRun\":false"));
  CHECK(app.disk->snapshot() == before);
  CHECK(app.post("/api/delete", cut, {{"content-length", "18"}}).starts_with("200"));
  // Nor is a scan usable that may show what is gone.
  app.disk->onLook = [&disk = *app.disk, calls = app.disk->shellCalls](const std::wstring&) {
    if (disk.shellCalls > calls) throw std::bad_alloc();
  };
  const std::string unknown = "permanent=1&job=1&p=C:%5Cr%5Cb";
  CHECK(app.post("/api/delete", unknown) == R"(500 {"error":"noMemory"})");
  CHECK(app.post("/api/delete", unknown) == R"(404 {"error":"noJob"})");
}

TEST_CASE("during a deletion queries are answered and only operations on the same scan wait") {
  App app;
  fill(*app.disk);
  app.disk->add(L"D:\\x\\y", 3);
  app.disk->add(L"C:\\Windows\\Temp\\z", 3);
  app.scanJob("C:%5Cr");
  app.scanJob("D:%5C");
  std::atomic<bool> gate{false};
  std::atomic<int> inShell{0};
  std::atomic<int> done{0};
  app.disk->beforeShell = [&] {
    if (++inShell == 1) {
      while (!gate) std::this_thread::yield();
    }
  };
  std::vector<std::thread> threads;
  const auto begin = [&](const char* path, const char* fields) {
    threads.emplace_back([&app, &done, path, fields] {
      app.post(path, fields);
      ++done;
    });
  };
  begin("/api/delete", "job=1&permanent=1&p=C:%5Cr%5Ca");
  while (inShell == 0) std::this_thread::yield();
  CHECK(app.get("/api/jobs").starts_with("200 [{\"id\":1,"));
  CHECK(holds(app.get("/api/result?id=1"), "big.iso"));
  CHECK(holds(app.get("/api/dirs?id=1&p=C:%5Cr"), "\"n\":\"a\""));
  begin("/api/delete", "job=2&permanent=1&p=D:%5Cx"); // another scan's
  while (done == 0) std::this_thread::yield();
  begin("/api/delete", "job=1&permanent=1&p=C:%5Cr%5Cb");
  begin("/api/emptybin", "");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  CHECK(inShell == 2);
  CHECK(done == 1);
  gate = true;
  for (std::thread& thread : threads) thread.join();
  CHECK(inShell == 3);
  CHECK(app.disk->snapshot().size() == 12);
}

TEST_CASE("all scans that hold a deleted path are brought up to date") {
  for (const std::string job : {"&job=1", "", "&job=6"}) {
    App app;
    fill(*app.disk);
    app.disk->volume(L"T:", L"C:\\r");
    app.disk->add(L"C:\\r\\locked\\use.bin", 70 * kMiB).locked = true;
    app.disk->add(L"C:\\r\\locked\\free.bin", 80 * kMiB);
    app.disk->add(L"C:\\s\\x", 3);
    const auto outer = app.scanJob("C:%5C");
    const auto same = app.scanJob("c:/R");
    const auto inner = app.scanJob("C:%5Cr%5Ca%5Cdeep");
    const auto besides = app.scanJob("C:%5Cs");
    const auto within = app.scanJob("C:%5Cr%5Clocked");
    const auto other = app.scanJob("T:%5C");
    const std::string before = *besides->document;
    const std::string p = job == "&job=6" ? "&p=T:%5C" : "&p=C:%5Cr%5C";
    app.disk->add(L"C:\\r\\late\\x", 9); // after the scans, so their totals do not have it
    std::string fields = "permanent=1" + job;
    for (const char* name : {"a", "loose.txt", "locked", "late"}) fields.append(p).append(name);
    CHECK(app.post("/api/delete", fields).starts_with("200 {\"deleted\":3,"));
    for (const auto& one : {outer, same, within, other}) checkLikeFreshScan(app, *one);
    CHECK(outer->freed == 220 * kMiB + 209);
    CHECK(same->freed == outer->freed);
    CHECK(within->freed == 80 * kMiB);
    CHECK(inner->freed == 70 * kMiB);
    CHECK(inner->result.byteCount == 0);
    CHECK(*besides->document == before);
    const std::string jobs = app.get("/api/jobs");
    CHECK(jobs.find("\"gone\":true") > jobs.find("{\"id\":3,"));
    CHECK(jobs.find("\"gone\":true") < jobs.find("{\"id\":4,"));
    CHECK(jobs.find("\"gone\":true", jobs.find("{\"id\":4,")) == std::string::npos);
    // Nothing of what went was there any more, so none of it went into the bin.
    app.disk->at(L"C:\\s\\x")->size = 0;
    app.post("/api/delete", "permanent=1&p=C:%5Cs");
    CHECK(besides->freed == 3);
  }
}

TEST_CASE("a scan that fails while a file operation waits for it is left alone") {
  for (const char* path : {"/api/delete", "/api/emptybin"}) {
    CAPTURE(path);
    App app;
    fill(*app.disk);
    const auto job = app.scanJob("C:%5Cr");
    app.post("/api/delete", "job=1&p=C:%5Cr%5Cb");
    std::string told;
    std::unique_lock other(job->fileOperation);
    std::thread waiting([&] { told = app.post(path, "permanent=1&job=1&p=C:%5Cr%5Ctop.bin"); });
    while (!app.state.operations.any()) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    failJob(*job);
    other.unlock();
    waiting.join();
    CHECK(told.starts_with("200 "));
    CHECK((app.disk->at(L"C:\\r\\top.bin") == nullptr) == (path == std::string("/api/delete")));
    CHECK(job->document == nullptr);
    CHECK(job->freed == 0);
  }
}
