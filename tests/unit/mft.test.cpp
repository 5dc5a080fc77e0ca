#include "base/paths.h"
#include "scan/job.h"
#include "scan/mft_boot.h"
#include "scan/mft_extents.h"
#include "scan/mft_reader.h"

#include "support/app.h"
#include "support/mft_volume.h"

#include <doctest/doctest.h>

#include <random>
#include <set>

using namespace vorda;
using namespace vorda::test;

namespace {

const std::uint64_t kRoot = reference(5, 5);

struct Reading {
  bool ok = false;
  std::string failure;
  ScanResult result;
};

OpenVolume opens(Bytes image, const std::function<void(MemoryVolume&)>& change = {}) {
  return [image = std::move(image), change](wchar_t) {
    auto volume = std::make_unique<MemoryVolume>(image);
    if (change) change(*volume);
    return OpenedVolume{std::move(volume), {}};
  };
}

Reading reading(const OpenVolume& open, ScanProgress& progress) {
  ScanOptions options;
  options.root = L"d:";
  options.fileListThreshold = 1;
  options.namePatterns = {L"*"};
  Reading one;
  one.ok = readMft(open, progress, options, one.result);
  one.failure = progress.texts().failure;
  if (one.ok) SumTree(one.result.folders, progress);
  return one;
}

Reading reading(const OpenVolume& open) {
  ScanProgress progress;
  return reading(open, progress);
}

std::string wordOf(Bytes image) { return reading(opens(std::move(image))).failure; }

// "path size" of every kept file.
std::set<std::wstring> listed(const Reading& read) {
  REQUIRE(read.ok);
  std::set<std::wstring> lines;
  for (const FileEntry& file : read.result.files) {
    lines.insert(filePath(read.result, file).substr(3) + L" " + std::to_wstring(file.size));
  }
  CHECK(lines.size() == read.result.files.size());
  return lines;
}

using Lines = std::set<std::wstring>;

} // namespace

TEST_CASE("boot sectors: layouts in use, and those that cannot be") {
  struct Case {
    std::uint64_t sector, perCluster, perRecord, sectors, table;
    std::string word;
    std::uint32_t cluster, record;
  };
  const std::vector<Case> cases = {
      {512, 8, 0xF6, 1000, 99, "", 4096, 1024},
      {4096, 1, 0xF6, 1000, 4, "", 4096, 1024}, // records smaller than a sector
      {512, 8, 1, 1000, 4, "", 4096, 4096},     // records counted in clusters
      {256, 0xF3, 0xF7, 0, 4, "", 2'097'152, 512},
      {512, 128, 0xF0, 0, 4, "", 65'536, 65'536},
      {512, 0xF3, 0xF6, 0, 4, "mftLayout", 0, 0},  // clusters beyond 2 MiB
      {512, 0x81, 0xF6, 0, 4, "mftLayout", 0, 0},  // 2 to the power 127
      {512, 8, 0x80, 0, 4, "mftLayout", 0, 0},     // 2 to the power 128
      {512, 0, 0xF6, 0, 4, "mftLayout", 0, 0},     // no cluster size
      {0, 8, 0xF6, 0, 4, "mftLayout", 0, 0},       //
      {384, 8, 0xF6, 0, 4, "mftLayout", 0, 0},     // no power of two
      {8192, 1, 0xF6, 0, 4, "mftLayout", 0, 0},    //
      {512, 8, 0xF8, 0, 4, "mftLayout", 0, 0},     // records of 256 bytes
      {512, 8, 0xEF, 0, 4, "mftLayout", 0, 0},     // and of 128 KiB
      {512, 8, 0, 0, 4, "mftLayout", 0, 0},        //
      {512, 8, 17, 0, 4, "mftLayout", 0, 0},       //
      {256, 3, 1, 0, 4, "mftLayout", 0, 0},        // 768 bytes, no whole strides
      {512, 8, 0xF6, 800, 100, "mftLayout", 0, 0}, // a table behind the end
      {512, 8, 0xF6, 0, ~0ULL, "mftLayout", 0, 0},
  };
  for (const Case& one : cases) {
    Bytes boot = TestVolume().image();
    put(boot, 11, one.sector, 2);
    put(boot, 13, one.perCluster, 1);
    put(boot, 40, one.sectors, 8);
    put(boot, 48, one.table, 8);
    put(boot, 64, one.perRecord, 1);
    MftLayout layout;
    CAPTURE(one.perCluster);
    CAPTURE(one.perRecord);
    REQUIRE(decodeBoot({boot.data(), 512}, layout) == one.word);
    if (!one.word.empty()) continue;
    CHECK(layout.clusterBytes == one.cluster);
    CHECK(layout.recordBytes == one.record);
  }
  MftLayout layout;
  CHECK(decodeBoot({}, layout) == "mftNotNtfs");
}

TEST_CASE("run lists") {
  const auto decode = [](const Bytes& list, std::uint64_t clusters = 1000) {
    std::vector<Extent> extents;
    std::string text = decodeRuns({list.data(), list.size()}, clusters, extents) ? "" : "refused ";
    for (const Extent& one : extents) {
      text += std::to_string(one.cluster) + "+" + std::to_string(one.count) + " ";
    }
    return text;
  };
  const Bytes good = {0x11, 3, 100, 0x21, 2, 0x9C, 0xFF, 0x12, 1, 1, 50, 0};
  CHECK(decode(good) == "100+3 0+2 50+257 ");
  CHECK(decode({0x88, 1, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0}) == "9+1 ");
  CHECK(decode({0}) == "");
  for (std::size_t length = 0; length < good.size(); ++length) {
    const Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length));
    CHECK(decode(cut).starts_with("refused"));
  }
  const std::vector<Bytes> refused = {
      {0x01, 5, 0},                            // sparse
      {0x10, 5, 0},                            // no length
      {0x19, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0}, // lengths and offsets of 9 bytes
      {0x91, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0},
      {0x11, 0, 5, 0},       // empty
      {0x11, 1, 0xFF, 0},    // before the volume
      {0x21, 1, 0xE8, 3, 0}, // behind it
      {0x21, 2, 0xE7, 3, 0}, // over its end
      {0x18, 255, 255, 255, 255, 255, 255, 255, 255, 1, 0},
      {0x81, 1, 0, 0, 0, 0, 0, 0, 0, 0x80, 0},
  };
  for (const Bytes& list : refused) CHECK(decode(list) == "refused ");
}

TEST_CASE("which name and which size a file has, wherever they are kept") {
  TestVolume volume;
  volume.add(20, TestRecord(true).name(L"dir", kRoot));
  const std::uint64_t dir = reference(20, 1);
  volume.add(21, TestRecord().name(L"b", dir, 1).name(L"a", kRoot, 0).nonResident(kData, 21));
  volume.add(22,
             TestRecord().name(L"SHORT~1", dir, 2).name(L"long", dir, 3).nonResident(kData, 22));
  volume.add(23,
             TestRecord().name(L"first", dir, 1).name(L"second", dir, 1).nonResident(kData, 23));
  volume.add(24, TestRecord().name(L"ONLY~1", dir, 2).nonResident(kData, 24));
  volume.add(25, TestRecord()
                     .file(L"streams", dir, 25)
                     .nonResident(kData, 999, {0}, 0, true)
                     .nonResident(kData, 999, {0}, 7)
                     .resident(kData, Bytes(99), true));
  volume.add(26, TestRecord().name(L"inside", dir).resident(kData, Bytes(26)));
  // Names and sizes in extension records, behind and before their base.
  volume.add(27, TestRecord());
  volume.add(28, TestRecord(false, reference(27, 1)).name(L"MOVED~1", dir, 2));
  volume.add(29, TestRecord(false, reference(27, 1)).name(L"moved", dir, 1).nonResident(kData, 27));
  volume.add(31, TestRecord().name(L"OLD~1", dir, 2));
  volume.add(30,
             TestRecord(false, reference(31, 1)).name(L"old long", dir, 3).nonResident(kData, 31));
  volume.add(32, TestRecord().name(L"own", dir, 3));
  volume.add(33,
             TestRecord(false, reference(32, 1)).name(L"other", kRoot, 0).nonResident(kData, 32));
  volume.add(34, TestRecord(false, reference(32, 9)).nonResident(kData, 999)); // of an older file
  volume.add(35, TestRecord(false, reference(60, 1)).nonResident(kData, 999)); // of none
  volume.add(
      36,
      TestRecord().file(L"narrow ÿ", dir, 36).modified(116'444'736'000'000'000ULL + 12'345'678));
  volume.add(37, TestRecord().file(L"wide Ā", dir, 37));
  volume.add(15,
             TestRecord().file(L"own file", kRoot, 15)); // the file system's: counted, not listed
  const Reading read = reading(opens(volume.image()));
  CHECK(listed(read) == Lines{L"a 21", L"dir\\long 22", L"dir\\first 23", L"dir\\ONLY~1 24",
                              L"dir\\streams 25", L"dir\\inside 26", L"dir\\moved 27",
                              L"dir\\old long 31", L"dir\\own 32", L"dir\\narrow ÿ 36",
                              L"dir\\wide Ā 37"});
  CHECK(read.result.fileCount == 13);
  CHECK(read.result.byteCount ==
        64 * 1024 + 15 + 21 + 22 + 23 + 24 + 25 + 26 + 27 + 31 + 32 + 36 + 37);
  CHECK(read.result.folderCount == 2);
  for (const FileEntry& file : read.result.files)
    CHECK(file.modified == (file.size == 36 ? 1234 : 0));
}

TEST_CASE("what does not hang on the root is gathered in one folder") {
  TestVolume volume;
  volume.tableRecords = 8192;
  volume.extents = {{16384, 64}};
  volume.add(12, TestRecord()); // reserved by the file system: no orphan
  volume.add(20, TestRecord(true, 0, 3).name(L"dir", kRoot));
  volume.add(21, TestRecord().file(L"fits", reference(20, 3), 21));
  volume.add(22, TestRecord().file(L"any", reference(20, 0), 22));
  volume.add(23, TestRecord().file(L"older", reference(20, 2), 23));
  volume.add(24, TestRecord().file(L"nowhere", reference(99, 1), 24));
  volume.add(25, TestRecord().file(L"far", reference(1ULL << 32U | 20, 3), 25));
  volume.add(26, TestRecord().file(L"in a file", reference(21, 1), 26));
  volume.add(27, TestRecord().nonResident(kData, 27)); // no name: counted only
  volume.add(28, TestRecord(true).name(L"lost", reference(99, 1)));
  volume.add(29, TestRecord().file(L"kept", reference(28, 1), 29));
  volume.add(30, TestRecord(true).name(L"head", reference(31, 1)));
  volume.add(31, TestRecord(true).name(L"tail", reference(30, 1)));
  volume.add(32, TestRecord(true).name(L"self", reference(32, 1)));
  volume.add(33, TestRecord(true).name(L"aside", reference(31, 1)));
  volume.add(34, TestRecord().file(L"round", reference(33, 1), 34));
  // A chain of 4,096 folders: a file in the last but one is 4,096 steps from the root.
  for (std::uint32_t i = 0; i < 4097; ++i) {
    volume.add(4000 + i, TestRecord(true).name(i == 4096 ? L"deep" : L"d",
                                               i == 0 ? kRoot : reference(3999 + i, 1)));
  }
  volume.add(40, TestRecord().file(L"reached", reference(3999 + 4095, 1), 40));
  volume.add(41, TestRecord().file(L"too deep", reference(3999 + 4096, 1), 41));
  const Reading read = reading(opens(volume.image()));
  Lines lines = listed(read);
  CHECK(std::erase_if(lines,
                      [](const std::wstring& line) { return line.ends_with(L"reached 40"); }) == 1);
  const std::wstring orphans = L"$Orphans\\";
  CHECK(lines == Lines{L"dir\\fits 21", L"dir\\any 22", orphans + L"older 23",
                       orphans + L"nowhere 24", orphans + L"far 25", orphans + L"in a file 26",
                       orphans + L"lost\\kept 29", orphans + L"tail\\aside\\round 34",
                       orphans + L"too deep 41"});
  for (const wchar_t* folder : {L"head", L"self", L"deep"}) {
    CHECK(FindFolder(read.result.folders, L"d:\\", L"d:\\$Orphans\\" + std::wstring(folder)));
  }
  const FolderEntry& root = read.result.folders[0];
  CHECK(root.ownFiles == 2); // the table and the reserved record
  CHECK(root.totalFiles == read.result.fileCount);
  CHECK(root.totalBytes == read.result.byteCount);
  CHECK(read.result.folders.back().ownFiles == 6);
  CHECK(read.result.folders[1].name == L"dir");
}

TEST_CASE("a search is handed its files, without those of the folders it leaves out") {
  struct Collected final : FileSink, FileTaker {
    Lines lines;
    std::unique_ptr<FileTaker> taker() override { return std::make_unique<Forward>(*this); }
    void take(const FoundFile& file) override {
      lines.insert(joinPath(file.folder, file.name) + L" " + std::to_wstring(file.size));
    }
    struct Forward final : FileTaker {
      explicit Forward(Collected& to) : to_(to) {}
      void take(const FoundFile& file) override { to_.take(file); }
      Collected& to_;
    };
  } sink;
  TestVolume volume;
  volume.add(20, TestRecord(true).name(L"Below", reference(22, 1)));
  volume.add(21, TestRecord(true).name(L"out", reference(22, 1)));
  volume.add(22, TestRecord(true).name(L"A", kRoot));
  volume.add(23, TestRecord(true).name(L"deep", reference(21, 1)));
  std::uint32_t record = 30;
  for (const std::uint64_t folder : {kRoot, reference(20, 1), reference(21, 1), reference(23, 1)}) {
    volume.add(record, TestRecord().file(L"f", folder, record));
    ++record;
  }
  ScanProgress progress;
  ScanOptions options;
  options.root = L"D:";
  options.fileListThreshold = 31;
  options.leftOut = {L"d:\\a\\OUT", L"D:\\A\\ow"};
  options.sink = &sink;
  ScanResult result;
  REQUIRE(readMft(opens(volume.image()), progress, options, result));
  CHECK(sink.lines == Lines{L"D:\\A\\Below\\f 31"});
  CHECK(result.files.empty());
  CHECK(result.fileCount == 3); // with the table itself
  CHECK(result.folderCount == 3);
}

TEST_CASE("names cannot lead to another place") {
  TestVolume volume;
  volume.add(20, TestRecord(true).name(L"..", kRoot));
  volume.add(21, TestRecord().file(L"..\\Windows/x" + std::wstring(1, 0), reference(20, 1), 21));
  volume.add(22, TestRecord().file(L".", kRoot, 22));
  volume.add(23, TestRecord().file(L"...", kRoot, 23));
  volume.add(25, TestRecord().file(L"a/b", kRoot, 25));
  volume.add(24, TestRecord().file(std::wstring(255, L'n'), kRoot, 24));
  CHECK(listed(reading(opens(volume.image()))) ==
        Lines{L"\xFFFD\xFFFD\\..\xFFFDWindows\xFFFDx\xFFFD 21", L"\xFFFD 22", L"... 23",
              L"a\xFFFD\x62 25", std::wstring(255, L'n') + L" 24"});
}

TEST_CASE("types are counted as the walk counts them") {
  const std::vector<std::wstring> names = {L"a.txt",
                                           L"B.TXT",
                                           L"c.tXt",
                                           L".txt",
                                           L"d.",
                                           L"e",
                                           L"f.x.Ж",
                                           L"g.Ж",
                                           L"h.twelve_long",
                                           L"i.thirteen_long",
                                           L"j.more_thirteen",
                                           L"k.É",
                                           L".l.é"};
  TestVolume volume;
  TypeTotals expected;
  std::uint32_t record = 20;
  for (const std::wstring& name : names) {
    addToType(expected, name, record);
    volume.add(record, TestRecord().file(name, kRoot, record));
    ++record;
  }
  addToType(expected, L"$MFT", 64 * 1024);
  const Reading read = reading(opens(volume.image()));
  REQUIRE(read.result.types.size() == expected.size());
  for (const auto& [type, total] : read.result.types) {
    CHECK(total.bytes == expected[type].bytes);
    CHECK(total.files == expected[type].files);
  }
}

TEST_CASE("a table in pieces is read whole or not at all") {
  TestVolume volume;
  volume.tableRecords = 24;
  // Records of two clusters, some of them torn apart by the end of an extent.
  volume.extents = {{37, 64}, {4, 500}, {1, 300}, {6, 200}};
  const auto part = [&volume](std::size_t from, std::size_t to) {
    return TestVolume::runsOf({volume.extents.begin() + static_cast<std::ptrdiff_t>(from),
                               volume.extents.begin() + static_cast<std::ptrdiff_t>(to)});
  };
  for (std::uint32_t i = 20; i < 24; ++i) {
    volume.add(i, TestRecord().file(L"file " + std::to_wstring(i), kRoot, i));
  }
  const Lines all = {L"file 20 20", L"file 21 21", L"file 22 22", L"file 23 23"};
  CHECK(listed(reading(opens(volume.image()))) == all);

  const auto entry = [](std::uint64_t cluster, std::uint64_t holder, std::uint8_t named = 0) {
    Bytes bytes(32);
    put(bytes, 0, kData, 4);
    put(bytes, 4, 32, 2);
    put(bytes, 6, named, 1);
    put(bytes, 8, cluster, 8);
    put(bytes, 16, holder, 8);
    return bytes;
  };
  const auto join = [](std::initializer_list<Bytes> parts) {
    Bytes joined;
    for (const Bytes& one : parts) joined.insert(joined.end(), one.begin(), one.end());
    return joined;
  };
  // Out of order, and the second piece is told by a record that lies in the first one.
  const Bytes list = join({entry(41, reference(19, 1)), entry(0, reference(0, 1)),
                           entry(77, reference(15, 1), 1), entry(37, reference(16, 1))});
  const auto zero = [&](const Bytes& value) {
    return TestRecord().resident(kAttributeList, value).nonResident(kData, 24 * 1024, part(0, 1));
  };
  volume.add(16, TestRecord(false, reference(0, 1)).nonResident(kData, 0, part(1, 2), 37));
  volume.add(19, TestRecord(false, reference(0, 1)).nonResident(kData, 0, part(2, 4), 41));
  CHECK(listed(reading(opens(volume.image(zero(list))))) == all);

  TestRecord far;
  far.nonResident(kAttributeList, list.size(), runList({{1, 900}}))
      .nonResident(kData, 24 * 1024, part(0, 1));
  Bytes image = volume.image(far);
  image.resize(901 * 512);
  std::copy(list.begin(), list.end(), image.begin() + 900 * 512);
  CHECK(listed(reading(opens(image))) == all);

  const std::vector<Bytes> wrong = {
      join({entry(37, reference(16, 1))}),                              // a piece is not named
      join({entry(37, reference(16, 2)), entry(41, reference(19, 1))}), // an older record
      join({entry(37, reference(19, 1)), entry(41, reference(16, 1))}), // the wrong ones
      join({entry(36, reference(16, 1)), entry(41, reference(19, 1))}), // overlapping
      join({entry(37, reference(22, 1)), entry(41, reference(19, 1))}), // lies in itself
      join({entry(37, reference(16, 1)), entry(37, reference(16, 1)), entry(41, reference(19, 1))}),
      Bytes(list.begin(), list.end() - 1),
      Bytes(32),
      {},
  };
  for (const Bytes& value : wrong) CHECK(wordOf(volume.image(zero(value))) == "mftCorrupt");
  far = TestRecord().nonResident(kAttributeList, 1 << 24U, runList({{1, 900}}));
  CHECK(wordOf(volume.image(far.nonResident(kData, 24 * 1024, part(0, 1)))) == "mftCorrupt");
}

TEST_CASE("records smaller than a sector, and a table that ends inside one") {
  TestVolume volume;
  volume.sectorBytes = 4096;
  volume.clusterBytes = 4096;
  volume.tableRecords = 30;
  volume.extents = {{6, 64}, {2, 80}};
  Bytes list(32);
  put(list, 0, kData, 4);
  put(list, 4, 32, 2);
  put(list, 8, 6, 8);
  put(list, 16, reference(18, 1), 8);
  TestRecord zero;
  zero.resident(kAttributeList, list).nonResident(kData, 30 * 1024, runList({{6, 64}}));
  volume.add(18, TestRecord(false, reference(0, 1)).nonResident(kData, 0, runList({{2, 80}}), 6));
  volume.add(29, TestRecord().file(L"last", kRoot, 29));
  CHECK(listed(reading(opens(volume.image(zero)))) == Lines{L"last 29"});
  // The record that continues the table must say that it does.
  volume.add(18, TestRecord(false, reference(5, 1)).nonResident(kData, 0, runList({{2, 80}}), 6));
  CHECK(wordOf(volume.image(zero)) == "mftCorrupt");
}

TEST_CASE("single bad records are passed over, many are not") {
  TestVolume volume;
  volume.tableRecords = 4096;
  volume.extents = {{8192, 64}};
  for (std::uint32_t i = 20; i < 2100; ++i)
    volume.add(i, TestRecord().file(std::to_wstring(i), kRoot, 1));
  const Bytes good = volume.image();
  const auto at = [](std::size_t record) { return (64 + record * 2) * 512; };
  Bytes bad = good;
  put(bad, at(100) + 510, 0x1234, 2);            // torn in writing
  put(bad, at(101), 0x44414142, 4);              // marked as bad
  put(bad, at(102) + 22, 0, 2);                  // deleted: no fault
  put(bad, at(103) + 32, reference(4096, 1), 8); // extends a record outside the table
  CHECK(wordOf(bad) == "mftCorrupt");
  put(bad, at(103) + 32, 0, 8);
  const Reading read = reading(opens(bad));
  REQUIRE(read.ok);
  CHECK(read.result.files.size() == 2080 - 3);
  bad = good;
  for (std::size_t i = 0; i < 3; ++i)
    put(bad, at(200 + i) + 256 + 4, 8, 4); // attributes of 8 bytes
  CHECK(wordOf(bad) == "mftCorrupt");
  TestVolume small;
  small.add(20, TestRecord().file(L"torn", kRoot, 1));
  small.add(21, TestRecord().file(L"whole", kRoot, 1));
  bad = small.image();
  put(bad, at(20) + 1022, 0x1234, 2);
  CHECK(listed(reading(opens(bad))) == Lines{L"whole 1"});
}

TEST_CASE("every failure has its word, and the walk takes over") {
  const Bytes good = TestVolume().image();
  const std::size_t table = 64 * 512;
  const auto changed = [&good](std::size_t at, std::uint64_t value, std::size_t count) {
    Bytes image = good;
    put(image, at, value, count);
    return opens(image);
  };
  const auto with = [](TestRecord zero) { return opens(TestVolume().image(zero)); };
  const auto failing = [&good](std::uint64_t from, std::uint64_t to) {
    return opens(good, [=](MemoryVolume& volume) {
      volume.onRead = [=, n = 0](std::uint64_t offset) mutable {
        return offset < from || offset >= to || (from == table && n++ == 0 && to == table + 2);
      };
    });
  };
  const auto without = [&good](std::size_t most) {
    return opens(good, [most](MemoryVolume& volume) { volume.mostBuffer = most; });
  };
  const auto closed = [](const char* word) {
    return [word](wchar_t) { return OpenedVolume{nullptr, word}; };
  };
  const Bytes run = runList({{128, 64}});
  const std::vector<std::pair<std::string, OpenVolume>> cases = {
      {"mftDenied", closed("mftDenied")},
      {"mftOpenFailed", closed("mftOpenFailed")},
      {"mftBoot", failing(0, 1)},
      {"mftBoot", without(1000)},
      {"mftNotNtfs", changed(3, 'M', 1)},
      {"mftLayout", changed(13, 0, 1)},
      {"mftUnreadable", failing(table, table + 1)}, // record 0
      {"mftUnreadable", failing(table, table + 2)}, // and the chunk with the same beginning
      {"mftCorrupt", changed(table, 'B', 1)},
      {"mftCorrupt", changed(table + 510, 0, 2)},
      {"mftCorrupt", changed(table + 6, 2, 2)},             // an update sequence too short
      {"mftCorrupt", changed(table + 6, 600, 2)},           // an update sequence beyond the record
      {"mftCorrupt", changed(table + 5 * 1024 + 22, 0, 2)}, // no root folder
      {"mftCorrupt", with(TestRecord().nonResident(kData, 65 * 1024, run))},
      {"mftCorrupt", with(TestRecord().nonResident(kData, 64 * 1024, {0x01, 1, 0}))},
      {"mftNoData", with(TestRecord())},
      {"mftNoData", with(TestRecord().nonResident(kData, 0, run))},
      {"mftNoData", with(TestRecord().nonResident(kData, 1024))},
      {"mftNoData", with(TestRecord().resident(kData, Bytes(99)))},
      {"mftRecordCount", with(TestRecord().nonResident(kData, 1023, run))},
      {"mftRecordCount",
       [] {
         TestVolume huge;
         huge.sectors = 1ULL << 40U;
         return opens(huge.image(
             TestRecord().nonResident(kData, 1024ULL * 200'000'001, runList({{400'000'002, 64}}))));
       }()},
      {"mftMemory", without(65'536)},
      {"cancelled", opens(good)},
  };
  for (const auto& [word, open] : cases) {
    App app;
    app.folders->addFolder(L"d:\\", L"walked");
    app.state.steps.turboAllowed = [](const std::wstring&) { return TurboVerdict{true, {}}; };
    app.state.steps.turbo = [&open = open](ScanProgress& progress, const ScanOptions& options,
                                           ScanResult& result) {
      return readMft(open, progress, options, result);
    };
    Job job;
    job.target = L"d:\\";
    job.progress.cancelRequested = word == "cancelled";
    runJob(job, app.state.steps);
    CHECK(job.progress.texts().noTurbo == word);
    CHECK(job.progress.texts().method == "walk");
    CHECK(job.progress.texts().error.empty());
    CHECK(job.result.folderCount == (word == "cancelled" ? 1 : 2));
  }
}

TEST_CASE("a cancel is answered within one chunk") {
  TestVolume volume;
  volume.tableRecords = 8192 * 6;
  volume.extents = {{8192 * 12, 64}};
  ScanProgress progress;
  int after = 0;
  const auto open = opens(volume.image(), [&](MemoryVolume& memory) {
    memory.onRead = [&](std::uint64_t offset) {
      if (progress.cancelRequested) ++after;
      if (offset >= 64 * 512 + 2 * 8'388'608) progress.cancelRequested = true;
      return true;
    };
  });
  const Reading read = reading(open, progress);
  CHECK(read.failure == "cancelled");
  CHECK(after == 0);
  progress.cancelRequested = false;
  CHECK(reading(opens(volume.image()), progress).ok);
}

TEST_CASE("damaged tables end in a result or a word") {
  TestVolume volume;
  for (std::uint32_t i = 20; i < 60; ++i) {
    const std::uint64_t parent = i < 25 ? kRoot : reference(20 + i % 5, 1);
    volume.add(i, TestRecord(i < 25).file(L"name " + std::to_wstring(i), parent, i));
  }
  const Bytes good = volume.image();
  std::mt19937 random(4711);
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    Bytes bad = good;
    // Half of them only in the records' heads and first attributes, where it hurts most.
    for (auto damage = 1 + random() % 40; damage > 0; --damage) {
      const std::size_t record = 64 * 512 + random() % 60 * 1024;
      bad[record + random() % (i % 2 == 0 ? 1024 : 400)] = static_cast<std::uint8_t>(random());
    }
    const Reading read = reading(opens(bad));
    CHECK(read.ok == read.failure.empty());
    if (read.ok) CHECK(read.result.folders[0].totalFiles == read.result.fileCount);
    seen.insert(read.failure);
  }
  CHECK(seen.contains(""));
  CHECK(seen.contains("mftCorrupt"));
}
