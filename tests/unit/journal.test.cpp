#include "fileops/deletion_log.h"
#include "fileops/journal.h"
#include "support/app.h"
#include "support/deletion_world.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("the log records of each outcome") {
  struct Row {
    bool permanent;
    bool binsNothing;
    bool aborts;
    bool locked; // a file in the second of the two folders
    bool more;   // there is a file beside it
    const char* error;
    std::uint64_t bytes;
    std::uint64_t binned;
    const char* log;
  };
  const std::vector<Row> rows = {
      {false, false, false, false, false, "", 1001, 1001,
       "2026-01-02 03:04:05  prullenbak  1000  T:\\\u00E9\r\n"
       "2026-01-02 03:04:05  prullenbak  1  T:\\deep\r\n"},
      {false, true, false, false, false, "", 1001, 0,
       "2026-01-02 03:04:05  definitief (niet in de prullenbak)  1000  T:\\\u00E9\r\n"
       "2026-01-02 03:04:05  definitief (niet in de prullenbak)  1  T:\\deep\r\n"},
      {false, false, true, true, false, "aborted", 1000, 1000,
       "2026-01-02 03:04:05  prullenbak  1000  T:\\\u00E9\r\n"
       "2026-01-02 03:04:05  MISLUKT (32)  1 van 2 paden bleven staan\r\n"},
      {true, false, true, false, false, "aborted", 1001, 0,
       "2026-01-02 03:04:05  definitief  1000  T:\\\u00E9\r\n"
       "2026-01-02 03:04:05  definitief  1  T:\\deep\r\n"
       "2026-01-02 03:04:05  MISLUKT (0)  0 van 2 paden bleven staan\r\n"},
      {true, false, false, true, true, "failed:32", 1007, 0,
       "2026-01-02 03:04:05  definitief  1000  T:\\\u00E9\r\n"
       "2026-01-02 03:04:05  definitief (deels)  7  T:\\deep\r\n"
       "2026-01-02 03:04:05  MISLUKT (32)  1 van 2 paden bleven staan\r\n"},
      {false, false, false, true, true, "failed:32", 1007, 1007,
       "2026-01-02 03:04:05  prullenbak  1000  T:\\\u00E9\r\n"
       "2026-01-02 03:04:05  prullenbak (deels)  7  T:\\deep\r\n"
       "2026-01-02 03:04:05  MISLUKT (32)  1 van 2 paden bleven staan\r\n"}};
  for (const Row& row : rows) {
    const auto disk = makeWorld();
    disk->add(L"C:\\data\\\u00E9\\big", 1000);
    disk->at(L"C:\\data\\deep\\f")->locked = row.locked;
    if (row.more) disk->add(L"C:\\data\\deep\\more", 7);
    disk->binsNothing = row.binsNothing;
    disk->aborts = row.aborts;
    disk->binBytes = 5000;
    // Somebody else fills the bin meanwhile.
    if (!row.binsNothing) disk->beforeShell = [&disk] { disk->binBytes += 9; };
    const DeleteResult result = remove(*disk, {L"T:\\\u00E9", L"T:\\deep"}, {}, row.permanent);
    CHECK(disk->log == row.log);
    CHECK(result.error == row.error);
    CHECK(result.bytes == row.bytes);
    CHECK(result.binned == row.binned);
    CHECK(result.left.size() == (row.locked ? 1 : 0));
  }
}

TEST_CASE("if nobody can look after a deletion, nothing is claimed and the journal stays") {
  const auto disk = makeWorld();
  disk->onLook = [&disk](const std::wstring&) {
    if (disk->shellCalls > 0) throw std::bad_alloc();
  };
  const DeleteResult result = remove(*disk, {L"C:\\data\\a.txt", L"C:\\Windows"});
  CHECK(result.unknown);
  CHECK(result.refused.empty());
  disk->onLook = nullptr;
  finishInterrupted(*disk, *disk);
  CHECK(disk->log == "2026-01-02 03:04:05  definitief (onderbroken)  1  C:\\data\\a.txt\r\n");

  // A file that stays has lost nothing by the deletion, even if it is smaller now.
  disk->mayDelete = [&disk](const std::wstring& path) {
    disk->at(path)->size = 0;
    return false;
  };
  disk->log.clear();
  CHECK(remove(*disk, {L"C:\\data\\deep\\f"}).bytes == 0);
  CHECK(disk->log == "2026-01-02 03:04:05  MISLUKT (32)  1 van 1 paden bleven staan\r\n");
}

TEST_CASE("of a drive that went meanwhile nothing is claimed, and its lines come later") {
  App app;
  MemoryDisk& disk = *app.disk;
  disk.add(L"E:\\a\\file", 10);
  disk.add(L"E:\\a\\folder\\in", 20);
  disk.add(L"E:\\b", 5);
  disk.add(L"C:\\data\\own", 3);
  disk.volume(L"F:", L"E:\\");
  const auto job = app.scanJob("E:%5C");
  disk.beforeShell = [&disk] {
    disk.removeNode(*disk.at(L"E:\\a\\file"));
    disk.volume(L"E:", L"E:\\none");
  };
  const std::string told = app.post(
      "/api/delete", "permanent=1&why=1&p=E:%5Ca%5Cfile&p=E:%5Ca%5Cfolder&p=C:%5Cdata%5Cown");
  CHECK(told.starts_with(R"(200 {"deleted":1,"bytes":3,"freed":3,"binned":0,)"));
  CHECK(told.ends_with(R"("stayed":[{"p":"E:\\a\\file","why":"unknown"},)"
                       R"({"p":"E:\\a\\folder","why":"unknown"}]})"));
  CHECK(job->result.byteCount == 35);
  CHECK(job->freed == 0);
  CHECK(disk.log.empty());
  disk.volume(L"E:", L"F:\\");
  finishInterrupted(disk, disk);
  CHECK(disk.log == "2026-01-02 03:04:05  definitief (onderbroken)  10  E:\\a\\file\r\n"
                    "2026-01-02 03:04:05  definitief (onderbroken)  3  C:\\data\\own\r\n");
}

TEST_CASE("an operation that is cut off gets its lines later") {
  struct Cut {};
  for (const bool permanent : {true, false}) {
    const auto disk = makeWorld();
    for (const wchar_t* name :
         {L"C:\\data\\1", L"C:\\data\\2", L"C:\\data\\d\\3", L"C:\\data\\d\\4"}) {
      disk->add(name, 10);
    }
    disk->mayDelete = [&](const std::wstring& path) {
      if (path != L"C:\\data\\d") return true;
      disk->removeNode(*disk->at(L"C:\\data\\d\\3"));
      disk->dead = true;
      throw Cut();
    };
    const std::vector<std::wstring> paths = {L"T:\\1", L"T:\\d", L"T:\\2"};
    CHECK(remove(*disk, paths, {}, permanent).error == kNoMemory);
    disk->dead = false;
    disk->volume(L"T:", L"C:\\none"); // the name of the drive is gone by now
    CHECK(disk->log.empty());
    REQUIRE(disk->journals.size() == 1);
    const std::string mode = permanent ? "definitief" : "prullenbak";
    std::string lines = "2026-01-02 03:04:05  ";
    lines.append(mode).append(" (onderbroken)  10  T:\\1\r\n2026-01-02 03:04:05  ");
    lines.append(mode).append(" (deels) (onderbroken)  10  T:\\d\r\n");
    // Not while the operation runs, nor while the log cannot be written.
    disk->journals[0]->open = true;
    finishInterrupted(*disk, *disk);
    disk->journals[0]->open = false;
    disk->logFails = true;
    finishInterrupted(*disk, *disk);
    CHECK(disk->log.empty());
    disk->logFails = false;
    disk->mayDelete = nullptr;
    CHECK(remove(*disk, {L"C:\\data\\a.txt"}, {}, permanent).logged);
    lines.append("2026-01-02 03:04:05  ").append(mode).append("  1  C:\\data\\a.txt\r\n");
    CHECK(disk->log == lines);
    CHECK(disk->journals.empty());
  }
}

TEST_CASE("journals of drives that are not there wait; broken ones are dropped") {
  const auto disk = makeWorld();
  Journal journal;
  journal.entries = {{L"C:\\data\\a.txt", L"C:\\data\\a.txt", false, {}},
                     {L"Q:\\\u00E9", L"Q:\\x\\\u00E9", true, {}},
                     {L"Q:\\link", L"Q:\\link", false, {}}};
  journal.entries[1].measure.bytes = 7;
  journal.entries[1].measure.files = 1;
  const std::string text = journalText(journal);
  REQUIRE(parseJournal(text));
  CHECK(journalText(*parseJournal(text)) == text);
  for (std::size_t length = 0; length < text.size(); ++length) {
    CHECK_FALSE(parseJournal(text.substr(0, length)));
  }
  CHECK_FALSE(parseJournal(text + "x"));
  const std::string head = "vorda-journal-1\tbinned\tC:\\t\n";
  const std::string entry = "folder\t1\t2\t3\t4\tC:\\a\tC:\\b\n";
  const auto read = parseJournal(head + entry + "end\n");
  REQUIRE((read && read->entries.size() == 1));
  CHECK(read->entries[0].measure.folders == 3);
  CHECK(read->entries[0].measure.links == 4);
  CHECK(journalText(*read) == head + entry + "end\n");
  CHECK_FALSE(parseJournal(text)->entries[0].folder);
  for (const std::string& wrong :
       {head + "folder\t1\t2\t3\t4\tC:\\a\n", head + "folder\t1\t2\t3\t4\tC:\\a\tC:\\b\t\n",
        head + "link\t1\t2\t3\t4\tC:\\a\tC:\\b\n", head + "folder\tx\t2\t3\t4\tC:\\a\tC:\\b\n",
        head + "folder\t1\t2x\t3\t4\tC:\\a\tC:\\b\n", head + "folder\t1\t2\t-3\t4\tC:\\a\tC:\\b\n",
        head + "folder\t1\t2\t3\t\tC:\\a\tC:\\b\n",
        head + "folder\t99999999999999999999\t2\t3\t4\tC:\\a\tC:\\b\n",
        std::string("vorda-journal-2\tbinned\tC:\\t\n"),
        std::string("vorda-journal-1\tshredded\t\n"), std::string("vorda-journal-1\tbinned\n"),
        std::string("vorda-journal-1\tbinned\t\t\n")}) {
    CHECK_FALSE(parseJournal(wrong + "end\n"));
  }
  disk->writeJournal(text.substr(0, text.size() - 1));
  disk->writeJournal(text);
  finishInterrupted(*disk, *disk);
  CHECK(disk->journals.size() == 1);
  CHECK(disk->log.empty());
  disk->volume(L"Q:");
  finishInterrupted(*disk, *disk);
  CHECK(disk->journals.empty());
  CHECK(disk->log == "2026-01-02 03:04:05  definitief (onderbroken)  7  Q:\\\u00E9\r\n"
                     "2026-01-02 03:04:05  definitief (onderbroken)  0  Q:\\link\r\n");
  disk->logFails = true;
  journal.entries.resize(1);
  disk->writeJournal(journalText(journal));
  finishInterrupted(*disk, *disk);
  CHECK(disk->journals.empty());
}

TEST_CASE("a log or journal that cannot be written fails no deletion") {
  for (const bool logFails : {true, false}) {
    const auto disk = makeWorld();
    disk->logFails = logFails;
    disk->journalFails = true;
    const DeleteResult result = remove(*disk, {L"C:\\data\\a.txt"});
    CHECK(result.deleted.size() == 1);
    CHECK(result.logged == !logFails);
  }
  const auto disk = makeWorld();
  disk->logFails = disk->lies = disk->at(L"C:\\data\\a.txt")->locked = true;
  CHECK(remove(*disk, {L"C:\\data\\a.txt"}).logged); // there was nothing to say
}
