#include "base/paths.h"
#include "scan/turbo/turbo_scan.h"

#include "support/turbo_reading.h"

#include <atomic>
#include <map>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>

using namespace vorda;
using namespace vorda::test;

TEST_CASE("folders deeper than 4,096 levels are orphans") {
  TestVolume volume;
  volume.tableRecords = 8192;
  volume.extents = {{16384, 64}};
  for (std::uint32_t i = 0; i < 4097; ++i) {
    const std::uint64_t parent = i == 0 ? kRoot : reference(3999 + i, 1);
    volume.addFolder(4000 + i).name(i == 4096 ? L"deep" : L"d", parent);
  }
  volume.add(40).file(L"reached", reference(3999 + 4095, 1), 40);
  volume.add(41).file(L"too deep", reference(3999 + 4096, 1), 41);
  // Of two names one is too deep, or as deep as can be.
  for (const std::uint32_t record : {42U, 43U}) {
    volume.add(record)
        .name(L"n", kRoot)
        .name(L"m", reference(3999 + (record == 42 ? 4096 : 4095), 1));
  }
  volume.first =
      TestRecord(true).name(L"$MFT", kRoot); // a folder that takes no file without a name
  volume.add(44).data(44);
  const Reading read = reading(opens(volume.image()));
  Lines lines = listed(read);
  CHECK(lines.contains(L"$Orphans\\too deep 41"));
  REQUIRE(read.result.links.files.size() == 2);
  CHECK(read.result.links.files[0].stays);
  CHECK(read.result.links.files[0].count == 1);
  CHECK_FALSE(read.result.links.files[1].stays);
  CHECK(read.result.links.files[1].count == 2);
  CHECK(read.result.folders[*findFolder(read.result.folders, L"d:\\", L"d:\\$Orphans")].ownFiles ==
        2);
  CHECK(std::count_if(lines.begin(), lines.end(), [](const std::wstring& line) {
          return line.size() > 8000 && line.ends_with(L"reached 40");
        }) == 1);
  CHECK(findFolder(read.result.folders, L"d:\\", L"d:\\$Orphans\\deep"));
}

TEST_CASE("a sink gets all files except those in left-out folders") {
  struct Collected final : FileSink {
    Lines lines;
    int finished = 0;
    std::set<ScanStatus> statuses;
    const ScanProgress* progress = nullptr;
    std::unique_ptr<FileTaker> taker() override { return std::make_unique<Taker>(*this); }
    struct Taker final : FileTaker {
      Collected& all;
      explicit Taker(Collected& to) : all(to) {}
      void finish() override { ++all.finished; }
      void take(const FoundFile& file) override {
        std::wostringstream line;
        line << joinPath(file.folder, file.name) << L' ' << file.size << L' ' << file.disk / 512
             << L' ' << file.cloud << L" @" << file.modified << L' ' << (file.id >> 48U) << L'/'
             << (file.id & 0xFFFF'FFFF) << (file.diskKnown ? L"" : L"?");
        all.lines.insert(line.str());
        all.statuses.insert(all.progress->texts().status);
        CHECK(all.progress->phase == kPhaseSumming);
      }
    };
  } sink;
  TestVolume volume;
  volume.addFolder(20).name(L"Below", reference(22, 1));
  volume.addFolder(21).name(L"out", reference(22, 1));
  volume.addFolder(22).name(L"A", kRoot);
  volume.addFolder(23).name(L"deep", reference(21, 1));
  std::uint32_t record = 30;
  for (const std::uint64_t folder : {kRoot, reference(20, 1), reference(21, 1), reference(23, 1)}) {
    volume.add(record).file(L"f", folder, record);
    ++record;
  }
  const std::uint64_t time = 116'444'736'000'000'000 + 90'000;
  const std::uint64_t elsewhere = reference(24, 1);
  volume.add(29).name(L"p", reference(21, 1)).name(L"q", reference(21, 1));
  volume.addFolder(24).name(L"out", kRoot); // of another path than what is left out
  volume.add(34, TestRecord(false, 0, 3)
                     .modified(time)
                     .name(L"g", elsewhere)
                     .data(5000, {{2, 900}})
                     .reparse(0x9000'601A));
  volume.add(35).modified(time).file(L"h", reference(99, 1), 100);
  volume.add(36).modified(time).file(L"large", elsewhere, 6001);
  volume.add(37).modified(time - 20'000).file(L"early", elsewhere, 100);
  volume.add(38).modified(time).file(L"small", elsewhere, 30);
  volume.add(39).modified(time).file(L"other", elsewhere, 100).name(L"x", elsewhere, 0);
  ScanProgress progress;
  ScanOptions options;
  options.root = L"D:";
  options.fileListThreshold = 31;
  options.leftOut = {L"d:\\a\\OUT", L"D:\\A\\ow"};
  options.sink = &sink;
  sink.progress = &progress;
  ScanResult result;
  REQUIRE(turboScan(opens(volume.image()), progress, options, result));
  CHECK(sink.lines == Lines{L"D:\\A\\Below\\f 31 0 0 @0 1/31", L"D:\\out\\g 5000 2 3976 @9 3/34",
                            L"D:\\$Orphans\\h 100 0 0 @9 1/35", L"D:\\out\\large 6001 0 0 @9 1/36",
                            L"D:\\out\\early 100 0 0 @7 1/37", L"D:\\out\\x 100 0 0 @9 1/39"});
  CHECK(sink.statuses == std::set{ScanStatus::tree});
  CHECK(sink.finished == 1);
  CHECK(result.files.empty());
  CHECK(result.disk.empty());
  CHECK_FALSE(result.volume.counted);
  CHECK(result.fileCount == 9); // with the table itself
  CHECK(result.folderCount == 5);
  sink.lines.clear();
  options.bounds.most = 6000;
  options.bounds.after = 8;
  options.namePatterns = {L"g", L"h", L"large", L"early"};
  ScanResult fewer;
  REQUIRE(turboScan(opens(volume.image()), progress, options, fewer));
  CHECK(sink.lines == Lines{L"D:\\out\\g 5000 2 3976 @9 3/34", L"D:\\$Orphans\\h 100 0 0 @9 1/35"});
  // Where memory runs out nothing may be passed on a second time.
  const auto failing = [&volume](int reads) {
    const auto left = std::make_shared<std::atomic<int>>(reads);
    return opens(volume.image(), [left](MemoryVolume& one) {
      one.onRead = [left](std::uint64_t) { return (*left)-- > 0 ? true : throw std::bad_alloc(); };
    });
  };
  CHECK(reading(failing(1)).failure == kMftMemory);
  CHECK(reading(failing(2)).failure == kMftMemory); // in a worker
  CHECK_THROWS_AS(turboScan(failing(1), progress, options, result), std::bad_alloc);
  // Leaving folders out is not for sinks only.
  options.sink = nullptr;
  options.bounds = {};
  options.namePatterns = {};
  ScanResult listing;
  REQUIRE(turboScan(opens(volume.image()), progress, options, listing));
  CHECK(listing.disk.back().fixed);       // the orphans
  CHECK(listing.links.files.size() == 1); // the names that are left out come before its own
  options.root.clear();
  CHECK_FALSE(turboScan(opens(volume.image()), progress, options, result));
  CHECK(progress.texts().failure == kMftOpenFailed);
  CHECK(progress.files == 0);
}

TEST_CASE("a fragmented table is read completely or not at all") {
  TestVolume volume;
  volume.tableRecords = 24;
  volume.extents = {{37, 64}, {4, 500}, {1, 300}, {6, 200}};
  const Bytes head = runList({{37, 64}});
  for (std::uint32_t i = 20; i < 24; ++i) {
    volume.add(i).file(L"file " + std::to_wstring(i), kRoot, i);
  }
  const Lines all = {L"file 20 20", L"file 21 21", L"file 22 22", L"file 23 23"};
  CHECK(listed(reading(opens(volume.image()))) == all);

  // The attribute list is unsorted; a record in the first extent describes the second.
  const auto zero = TestRecord()
                        .resident(kAttributeList, attributeList({{41, 19}, {0, 0}, {37, 16}}))
                        .data(24 * 1024, {{37, 64}});
  const std::uint64_t table = reference(0, 1);
  volume.extend(16, table).piece(37, {{4, 500}});
  volume.extend(19, table).piece(41, {{1, 300}, {6, -100}});
  CHECK(listed(reading(opens(volume.image(zero)))) == all);
}

TEST_CASE("records smaller than a sector, and a table that ends inside one") {
  TestVolume volume;
  volume.sectorBytes = 4096;
  volume.clusterBytes = 8192;
  volume.tableRecords = 34;
  volume.extents = {{3, 64}, {2, 80}};
  TestRecord zero;
  zero.resident(kAttributeList, attributeList({{3, 22}})).data(34 * 1024, {{3, 64}});
  volume.extend(22, reference(0, 1)).piece(3, {{2, 80}});
  volume.add(33).file(L"last", kRoot, 33);
  Bytes image = volume.image(zero);
  CHECK(listed(reading(opens(image))) == Lines{L"last 33"});
  // One bad record is passed over; what follows the table in its last sector is none.
  volume.add(32);
  volume.add(34);
  image = volume.image(zero);
  for (const std::size_t record : {32U, 34U}) {
    put(image, 80 * 8192 + (record - 24) * 1024 + 1022, 0, 2);
  }
  CHECK(listed(reading(opens(image))) == Lines{L"last 33"});
}

TEST_CASE("single bad records are skipped, many fail the scan") {
  TestVolume volume;
  volume.tableRecords = 4096;
  volume.extents = {{8192, 64}};
  for (std::uint32_t i = 20; i < 2100; ++i) volume.add(i).file(std::to_wstring(i), kRoot, 1);
  const Bytes good = volume.image();
  const auto at = [](std::size_t record) { return (64 + record * 2) * 512; };
  Bytes bad = good;
  put(bad, at(100) + 510, 0x1234, 2);            // torn write
  put(bad, at(101), 0x44414142, 4);              // marked as bad
  put(bad, at(102) + 22, 0, 2);                  // deleted: not an error
  put(bad, at(103) + 32, reference(4096, 1), 8); // extends a record outside the table
  CHECK(wordOf(bad) == kMftCorrupt);
  put(bad, at(103) + 32, 0, 8);
  const Reading read = reading(opens(bad));
  REQUIRE(read.ok);
  CHECK(read.result.files.size() == 2080 - 3);
  bad = good;
  for (std::size_t i = 0; i < 3; ++i)
    put(bad, at(200 + i) + 256 + 4, 8, 4); // attributes of 8 bytes
  CHECK(wordOf(bad) == kMftCorrupt);
}

TEST_CASE("every failure has its word") {
  const Bytes good = TestVolume().image();
  const std::size_t table = 64 * 512;
  const auto changed = [&good](std::size_t at, std::uint64_t value, std::size_t count) {
    Bytes image = good;
    put(image, at, value, count);
    return opens(image);
  };
  const auto with = [](const TestRecord& zero) { return opens(TestVolume().image(zero)); };
  const auto failing = [&good](std::uint64_t from, std::uint64_t to) {
    return opens(good, [=, n = std::make_shared<std::atomic<int>>(0)](MemoryVolume& volume) {
      volume.onRead = [=](std::uint64_t offset) { // by either handle
        return offset < from || offset >= to || (from == table && (*n)++ == 0 && to == table + 2);
      };
    });
  };
  const auto without = [&good](std::size_t most) {
    return opens(good, [most](MemoryVolume& volume) { volume.mostBuffer = most; });
  };
  const Bytes run = runList({{128, 64}});
  const std::vector<std::pair<std::string_view, OpenVolume>> cases = {
      {kMftDenied,
       [](wchar_t) {
         return OpenedVolume{nullptr, kMftDenied};
       }},
      {kMftBoot, failing(0, 1)},
      {kMftBoot, without(1000)},
      {kMftNotNtfs, changed(3, 'M', 1)},
      {kMftUnreadable, failing(table, table + 1)}, // record 0
      {kMftUnreadable, failing(table, table + 2)}, // record 0 in its chunk
      {kMftCorrupt, changed(table, 'B', 1)},
      {kMftCorrupt, changed(table + 6, 2, 2)},             // update sequence too short
      {kMftCorrupt, changed(table + 6, 600, 2)},           // update sequence outside the record
      {kMftCorrupt, changed(table + 5 * 1024 + 22, 0, 2)}, // no root folder
      {kMftCorrupt, with(TestRecord().nonResident(kData, 65 * 1024, run))},
      {kMftCorrupt, with(TestRecord().nonResident(kData, 64 * 1024, {0x01, 1, 0}))},
      {kMftNoData, with(TestRecord())},
      {kMftNoData, with(TestRecord().nonResident(kData, 0, run))},
      {kMftNoData, with(TestRecord().data(1024))},
      {kMftNoData, with(TestRecord().resident(kData, Bytes(99)))},
      {kMftRecordCount,
       [] {
         TestVolume huge;
         huge.sectors = 1ULL << 40U;
         return opens(huge.image(TestRecord().data(1024ULL * 200'000'001, {{400'000'002, 64}})));
       }()},
      {kMftMemory, without(65'535)},
  };
  for (const auto& [word, open] : cases) {
    const Reading read = reading(open);
    CHECK_FALSE(read.ok);
    CHECK(read.failure == word);
  }
}

TEST_CASE("a cancel takes effect within one chunk and keeps what was read") {
  constexpr std::uint32_t kChunk = 2048; // records
  TestVolume volume;
  volume.tableRecords = kChunk * 6 - 7;
  volume.extents = {{kChunk * 12, 64}};
  volume.add(20).file(L"first", kRoot, 7);
  volume.add(kChunk * 5).file(L"last", kRoot, 8);
  // A file whose further records are in several chunks, and one with its name in many of them.
  volume.add(21).file(L"spread", kRoot, 1);
  for (std::uint32_t chunk = 3; chunk < 6; ++chunk) {
    volume.extend(kChunk * chunk + 1, reference(21, 1))
        .name(L"s" + std::to_wstring(chunk), kRoot)
        .resident(kData, Bytes(10 * chunk))
        .stream(L"s", 1, {{chunk, 10 * chunk}});
  }
  volume.add(22);
  for (std::uint32_t i = 0; i < 40; ++i) {
    volume.extend(kChunk * 3 + 2 + i, reference(22, 1)).name(L"n" + std::to_wstring(i), kRoot);
  }
  volume.extend(kChunk * 3 + 50, reference(22, 1)).resident(kData, Bytes(9));
  ScanProgress progress;
  std::atomic<int> after = 0;
  const auto open = opens(volume.image(), [&](MemoryVolume& memory) {
    memory.onRead = [&](std::uint64_t offset) {
      if (progress.cancelRequested) ++after;
      if (offset >= 64 * 512 + kChunk * 1024) progress.cancelRequested = true;
      return true;
    };
  });
  const Reading part = reading(open, progress);
  REQUIRE(part.ok);
  CHECK(after <= 1); // the chunk that the other worker had already claimed
  CHECK(listed(part) == Lines{L"first 7", L"spread 1"});
  CHECK_FALSE(part.result.volume.counted);
  CHECK(part.result.partial == Partial::cancelled);
  CHECK(progress.texts().partial == Partial::cancelled);
  const Reading none = reading(open, progress); // not even the root was read
  CHECK(none.result.folders.at(none.result.folderCount - 1).name == L"d:\\");
  progress.cancelRequested = false;
  // While it reads, all chunks but the two in work are done.
  std::mutex reads;
  std::uint64_t chunk = 0;
  const auto slow = [&](MemoryVolume& memory) {
    memory.onRead = [&](std::uint64_t offset) {
      const std::lock_guard lock(reads);
      const std::uint64_t before = progress.files;
      const ProgressTexts texts = progress.texts();
      CHECK(progress.phase == kPhaseReading);
      if (offset == 0) CHECK(texts.status == ScanStatus::mftOpen);
      if (offset < 64 * 512) return true;
      if (texts.status == ScanStatus::mftFind) return true;
      CHECK(texts.status == ScanStatus::mftRead);
      CHECK(texts.method == ScanMethod::turbo);
      if (chunk++ < 2) std::this_thread::sleep_for(std::chrono::milliseconds(50)); // both come
      if (chunk < 3) return true;
      const std::uint64_t done = progress.files;
      CHECK((done + 7) % kChunk <= 7); // the last one is shorter
      CHECK(done + 7 >= (chunk - 2) * kChunk);
      CHECK(done < chunk * kChunk);
      const auto line = [](std::uint64_t count) {
        return L"record " + std::to_wstring(count) + L" van 12281";
      };
      CHECK((texts.current == line(before) || texts.current == line(done)));
      return true;
    };
  };
  const Reading whole = reading(opens(volume.image(), slow), progress);
  REQUIRE(whole.ok);
  CHECK(chunk == 6);
  CHECK(whole.result.partial == Partial::none);
  CHECK(listed(whole) == Lines{L"first 7", L"last 8", L"spread 121", L"n0 9"});
  CHECK(whole.result.volume.cluster == 512);
  CHECK(whole.result.disk[0].ownStreams == 12 * 512);
  REQUIRE(whole.result.links.files.size() == 2);
  CHECK(whole.result.links.files[0].count == 4);
  CHECK(whole.result.links.files[1].count == 40);
  CHECK(progress.files == whole.result.fileCount);
  CHECK(whole.result.seconds < 60);
}

TEST_CASE("randomly damaged tables give consistent figures or a failure word") {
  TestVolume volume;
  for (std::uint32_t i = 20; i < 60; ++i) {
    const std::uint64_t parent = i < 25 ? kRoot : reference(20 + i % 5, 1);
    TestRecord& record = volume.add(i, TestRecord(i < 25).name(L"n" + std::to_wstring(i), parent));
    if (i >= 25 && i % 3 == 0) record.name(L"m", reference(20 + i % 4, 1)).names(2);
    record.data(i, {{i, 500 + 70 * i}});
    if (i % 4 == 0) record.stream(L"s", 5, {{1, 400 + i}});
  }
  const Bytes good = volume.image();
  std::mt19937 random(4711);
  std::map<std::string, int, std::less<>> seen;
  for (int i = 0; i < 1000; ++i) {
    Bytes bad = good;
    // Half of the runs damage only headers and first attributes.
    for (auto damage = 1 + random() % 40; damage > 0; --damage) {
      const std::size_t record = 64 * 512 + random() % 60 * 1024;
      bad[record + random() % (i % 2 == 0 ? 1024 : 400)] = static_cast<std::uint8_t>(random());
    }
    const Reading read = reading(opens(bad));
    ++seen[read.failure];
    CHECK(read.ok == read.failure.empty());
    if (!read.ok) continue;
    CHECK(read.result.folders[0].totalFiles == read.result.fileCount);
    std::uint64_t disk = 0;
    std::uint64_t back = 0;
    for (const FolderDisk& folder : read.result.disk) {
      disk += folder.ownDisk + folder.ownTables;
      back += folder.ownBack + folder.jointBack + (folder.fixed ? 0 : folder.ownTables);
      CHECK(folder.totalBack <= folder.totalDisk);
    }
    CHECK(disk == read.result.disk[0].totalDisk);
    CHECK(back == read.result.disk[0].totalBack);
  }
  CHECK(seen[""] > 200);
  CHECK(seen.contains(kMftCorrupt));
}
