#include "base/paths.h"
#include "base/text.h"
#include "scan/turbo/run_list.h"
#include "scan/turbo/volume_bitmap.h"
#include "tree/account.h"
#include "tree/size_tree.h"

#include "support/turbo_reading.h"

#include <random>

using namespace vorda;
using namespace vorda::test;

namespace {

constexpr std::uint64_t kCluster = 512;

ScanResult scanned(Bytes image, const std::function<void(MemoryVolume&)>& change = {}) {
  Reading read = reading(opens(std::move(image), change));
  REQUIRE(read.ok);
  read.result.volume.wholeVolume = true;
  return std::move(read.result);
}

// "on disk, back, in the cloud" of a folder, in clusters.
std::string figures(const ScanResult& result, const std::wstring& path) {
  const auto folder = findFolder(result.folders, L"d:\\", joinPath(L"d:\\", path));
  REQUIRE(folder);
  const FolderDisk& disk = result.disk[*folder];
  return std::to_string(disk.totalDisk / kCluster) + " " +
         std::to_string(disk.totalBack / kCluster) + " " + std::to_string(disk.totalCloud);
}

std::string fileFigures(const ScanResult& result, const std::wstring& name) {
  for (const FileEntry& file : result.files) {
    if (file.name != name) continue;
    return std::to_string(file.disk / kCluster) + " " +
           std::to_string(backOf(result, file) / kCluster) + " " + std::to_string(file.cloud);
  }
  return "missing";
}

const AccountRow& rowOf(const Account& account, std::string_view code) {
  const auto row = std::find_if(account.rows.begin(), account.rows.end(),
                                [code](const AccountRow& one) { return one.code == code; });
  REQUIRE(row != account.rows.end());
  return *row;
}

// A run list of holes and runs: { length, offset }, where offset 0 makes a hole.
Bytes holed(const std::vector<std::pair<std::uint8_t, std::int8_t>>& runs) {
  Bytes list;
  for (const auto& [count, offset] : runs) {
    list.push_back(offset == 0 ? 0x01 : 0x11);
    list.push_back(count);
    if (offset != 0) list.push_back(static_cast<std::uint8_t>(offset));
  }
  list.push_back(0);
  return list;
}

} // namespace

TEST_CASE("allocated clusters of a run list") {
  const auto counted = [](const Bytes& list, std::uint64_t clusters) {
    std::uint64_t count = 77;
    return countClusters({list.data(), list.size()}, clusters, count) ? static_cast<int>(count)
                                                                      : -1;
  };
  CHECK(counted(holed({{7, 0}, {5, 10}, {9, 0}, {2, 20}, {3, 0}}), 100) == 7);
  CHECK(counted(holed({{7, 0}}), 1) == 0); // a hole may be larger than the volume
  CHECK(counted(holed({{5, 10}}), 14) == -1);
  CHECK(counted(holed({{5, 10}, {5, -9}, {5, 1}}), 15) == 15);
  CHECK(counted(holed({{5, 10}, {5, -9}, {5, 1}, {1, 1}}), 15) == -1); // more than there are
}

TEST_CASE("streams, holes, extension records, the system's compression and the cloud") {
  TestVolume volume;
  constexpr std::uint32_t kCloud = 0x9000'601A;
  volume.addFolder(20).name(L"a", kRoot).nonResident(kIndexAllocation, 4096, runList({{8, 900}}));
  const std::uint64_t a = reference(20, 1);
  volume.add(31).name(L"sparse", a).nonResident(kData, 1 << 20U, holed({{90, 0}, {3, 70}, {9, 0}}));
  // Only in another stream, which is no further one.
  volume.add(33)
      .name(L"packed", a)
      .nonResident(kData, 100'000, holed({{100, 0}}))
      .stream(L"WofCompressedData", 2000, {{4, 500}})
      .reparse(0x8000'0017);
  volume.add(34).name(L"cloud", a).nonResident(kData, 5000, holed({{10, 0}})).reparse(kCloud);
  volume.add(35)
      .attributes(kAttributeRecallOnDataAccess)
      .name(L"partly", a)
      .nonResident(kData, 5000, holed({{7, 0}, {3, 100}}))
      .stream(L"x", 1, {{1, 600}});
  volume.add(37).name(L"pieces", a).data(9000, {{2, 610}});
  volume.extend(38, reference(37, 1)).piece(2, {{5, 620}}).stream(L"y", 10, {{1, 630}});
  volume.extend(42, reference(37, 1)).stream(L"z", 10, {{16, 660}});
  volume.add(43).name(L"small", a).data(100, {{1, 680}}).reparse(kCloud);
  volume.add(44).name(L"more", a).data(9000, {{2, 690}}).reparse(kCloud);
  volume.extend(45, reference(44, 1)).piece(2, {{3, 692}});
  volume.addFolder(46)
      .name(L"late", a)
      .nonResident(kIndexAllocation, 4096, runList({{8, 700}}))
      .stream(L"dir", 9, {{2, 720}});
  volume.extend(39, reference(37, 9)).piece(7, {{9, 640}});
  Bytes damaged = runList({{3, 0x7000'0000}});
  volume.add(40).name(L"damaged", a).nonResident(kData, 9000, damaged);
  const ScanResult result = scanned(volume.image());
  // The record that belongs to no file counts nowhere.
  const std::pair<std::wstring, std::string> files[] = {
      {L"sparse", "3 3 0"},   {L"packed", "4 4 0"}, {L"cloud", "0 0 5000"}, {L"partly", "4 4 3464"},
      {L"pieces", "24 24 0"}, {L"small", "1 1 0"},  {L"more", "5 5 6440"},  {L"damaged", "0 0 0"}};
  for (const auto& [name, expected] : files) CHECK(fileFigures(result, name) == expected);
  CHECK(figures(result, L"a") == "59 59 14904");
  CHECK(result.types.at(L"(none)").disk == (41 + 128) * kCluster);
  CHECK_FALSE(result.volume.exact);
  const Account account = accountOf(result);
  CHECK(*rowOf(account, "streams").bytes == 20 * kCluster);
  CHECK(*rowOf(account, "tables").bytes == 16 * kCluster);
  CHECK(*rowOf(account, "files").bytes == 23 * kCluster);
  CHECK(*rowOf(account, "cloud").bytes == result.types.at(L"(none)").cloud);
  CHECK(rowOf(account, "cloud").info);
  CHECK(rowOf(account, "system").parts.front().name == L"$MFT");
}

TEST_CASE("what comes back of files with several names") {
  TestVolume volume;
  const auto folder = [&volume](std::uint32_t record, const wchar_t* name, std::uint64_t parent,
                                std::uint16_t sequence = 1) {
    volume.add(record, TestRecord(true, 0, sequence).name(name, parent).name(L"ALSO~1", parent));
    return reference(record, sequence);
  };
  const std::uint64_t a = folder(20, L"a", kRoot);
  const std::uint64_t b = folder(21, L"b", a);
  const std::uint64_t c = folder(22, L"c", a);
  const std::uint64_t d = folder(23, L"d", kRoot, 4);
  const std::uint64_t extend = folder(11, L"$Extend", kRoot);
  const std::uint64_t inside = folder(25, L"inside", folder(24, L"$Deleted", extend));
  const std::uint64_t lost = folder(26, L"below", folder(27, L"lost", reference(99, 1)));
  std::uint32_t at = 600;
  const auto file = [&](std::uint32_t record, std::uint32_t clusters,
                        const std::vector<std::uint64_t>& parents) -> TestRecord& {
    TestRecord& made = volume.add(record);
    for (std::size_t i = 0; i < parents.size(); ++i) {
      made.name(L"f" + std::to_wstring(record) + L"." + std::to_wstring(i), parents[i]);
    }
    at += 20;
    return made.data(clusters * 512 - 100, {{clusters, at}});
  };
  file(30, 1, {b, b}); // both in one folder
  file(31, 2, {b, c}); // meet in a
  file(32, 4, {c, d}); // meet in the root
  file(33, 8, {d});    // one name and a DOS name
  volume.records.at(33).name(L"F33~1", d, 2).names(2);
  file(34, 16, {d}).names(3); // two names are nowhere
  file(35, 32, {b}).names(3); // two further names in an extension record
  volume.extend(36, reference(35, 1)).name(L"far", d).name(L"FAR~1", d, 2);
  file(37, 64, {c, reference(11, 1)});  // one where nobody can delete it
  file(38, 128, {c, reference(99, 1)}); // one in a folder that is gone
  // The same figures again in places of their own.
  file(39, 1, {kRoot, kRoot});
  file(40, 2, {extend, d});
  file(41, 4, {lost});
  file(42, 8, {reference(99, 1)});
  file(43, 16, {inside});
  file(44, 32, {kRoot});
  file(15, 64, {kRoot}).stream(L"s", 9, {{1, 990}});
  file(16, 128, {kRoot}).stream(L"s", 9, {{2, 991}});
  volume.add(3).name(L"$Volume", kRoot);
  volume.records.at(5).nonResident(kIndexAllocation, 512, runList({{1, 996}}));
  volume.add(47).name(L"f47.0", c).name(L"f47.1", d).data(100).reparse(0x9000'601A);
  volume.add(45).name(L"pagefile.sys", kRoot).data(9, {{5, 995}});
  volume.add(46).name(L"pagefile.sys", d).data(9, {{6, 980}});
  const ScanResult result = scanned(volume.image());
  CHECK(figures(result, L"a\\b") == "35 1 0");
  CHECK(figures(result, L"a\\c") == "196 0 100");
  CHECK(figures(result, L"a") == "231 3 100");
  CHECK(figures(result, L"d") == "30 14 0");
  CHECK(figures(result, L"$Extend") == "18 0 0");
  CHECK(figures(result, L"$Extend\\$Deleted\\inside") == "16 0 0");
  CHECK(figures(result, L"$Orphans") == "12 0 0");
  CHECK(figures(result, L"$Orphans\\lost\\below") == "4 0 0");
  // With its own table and that of the volume, which do not come back.
  CHECK(figures(result, L"") == "653 221 100");
  CHECK(result.volume.exact);
  const auto told = [](const std::vector<AccountPart>& parts) {
    std::string text;
    for (const AccountPart& one : parts) {
      text += " " + toUtf8(one.name) + " " + std::to_string(one.bytes / kCluster);
    }
    return text;
  };
  CHECK(told(result.volume.system) == " $MFT 128 f15.0 65");
  CHECK(told(result.volume.paging) == " pagefile.sys 5");
  CHECK(result.disk[0].ownStreams == 2 * kCluster); // those of the user's files
  CHECK(result.types.at(L".0").back == 170 * kCluster);
  // All names of a file and nothing else, with its types.
  for (const LinkedFile& one : result.links.files) {
    CHECK(one.count == (one.id == 34 || one.id == 38 ? 1 : 2));
    CHECK(one.size == (one.disk == 0 ? 100 : one.disk - 100));
    for (std::uint32_t n = 0; n < one.count; ++n) {
      const LinkName& name = result.links.names[one.first + n];
      CHECK(result.links.types[name.type] == typeKeyOf(result.links.nameOf(name)));
    }
  }
  const std::vector<std::wstring>& types = result.links.types;
  CHECK(std::set<std::wstring>(types.begin(), types.end()).size() == types.size());
  for (const FileEntry& one : result.files) {
    if (one.link == kNoLink) continue;
    const std::wstring id = std::to_wstring(result.links.files[one.link].id);
    CHECK(one.name.starts_with(L"f" + id + L"."));
  }
  CHECK(fileFigures(result, L"f30.0") == "1 0 0");
  CHECK(fileFigures(result, L"f33.0") == "8 8 0");
  const LinkedFile& far = result.links.files[result.links.find(reference(35, 1))];
  CHECK(far.count == 2);
  CHECK(result.links.nameOf(result.links.names[far.first + 1]) == L"far");

  const auto index = [&result](const wchar_t* path) {
    return *findFolder(result.folders, L"d:\\", path);
  };
  const std::uint32_t inB = index(L"d:\\a\\b");
  const std::uint32_t inC = index(L"d:\\a\\c");
  const std::uint32_t inD = index(L"d:\\d");
  const auto promise = [&result](const Selection& selection) {
    const Promise made = promiseOf(result, selection);
    return std::to_string(made.back / kCluster) + " " + std::to_string(made.shared / kCluster);
  };
  CHECK(promise({{inB}, {}}) == "1 34");
  CHECK(promise({{inB, inC}, {}}) == "3 228");
  CHECK(promise({{inC}, {{inD, L"F32.1", 7}}}) == "4 194");
  CHECK(promise({{}, {{inB, L"f30.0", 0}}}) == "0 1");
  CHECK(promise({{}, {{inB, L"f30.0", 0}, {inB, L"f30.1", 0}, {inD, L"f33.0", 1}}}) == "9 0");
}

TEST_CASE("the volume's own map of clusters, and what remains unexplained") {
  TestVolume volume;
  volume.sectors = 5003;
  Bytes map(626);
  const auto use = [&map](std::uint64_t from, std::uint64_t count) {
    for (std::uint64_t i = from; i < from + count; ++i) {
      map[i / 8] = static_cast<std::uint8_t>(map[i / 8] | 1U << i % 8);
    }
  };
  use(64, 128);      // the table
  use(1000, 2);      // the map itself, in two pieces
  use(2000, 30);     // a file
  map.back() = 0xFF; // beyond the last cluster, and its own bits 5000 to 5002
  const auto bitmap = [&volume](std::uint64_t size, const Bytes& runs) {
    volume.add(6)
        .name(L"$Bitmap", kRoot)
        .resident(kData, {0, 0, 0, 0, 0, 0, 0, 0, 34, 0, 0x11, 1, 1, 0})
        .nonResident(kBitmap, 0, {0})
        .stream(L"Zone", 9)
        .nonResident(kData, size, runs);
  };
  bitmap(626, runList({{1, 1000}}));
  // The record of the second piece is met first.
  volume.extend(4, reference(6, 1)).piece(1, {{1, 1001}});
  volume.extend(21, reference(30, 1)).nonResident(kData, 0, {0}, 30);
  volume.add(30).name(L"file", kRoot).data(9, {{30, 2000}});
  std::size_t buffers = 10;
  const auto account = [&] {
    Bytes image = volume.image();
    image.resize(1002 * 512);
    std::copy(map.begin(), map.end(), image.begin() + 1000 * 512);
    const auto sparing = [&buffers](MemoryVolume& one) { one.buffersLeft = buffers; };
    return accountOf(scanned(image, sparing));
  };
  Account whole = account();
  CHECK(whole.fromBitmap);
  CHECK(*whole.used == (160 + 3) * kCluster);
  CHECK(whole.unexplained == 3 * 512);
  CHECK(whole.cluster == 512);
  map.back() = 0;
  whole = account();
  CHECK(whole.unexplained == 0);
  CHECK(*rowOf(whole, "system").bytes == 130 * kCluster);
  CHECK(rowOf(whole, "reserved").info);
  use(3000, 1);
  CHECK(account().unexplained == 512);
  // A map that does not cover the volume, or is in pieces that do not fit together, says nothing.
  buffers = 4;
  CHECK_FALSE(account().used);
  buffers = 10;
  volume.extend(4, reference(6, 1)).piece(2, {{1, 1001}});
  CHECK_FALSE(account().used);
  volume.records.erase(4);
  CHECK_FALSE(account().used);
  bitmap(625, runList({{2, 1000}}));
  CHECK_FALSE(account().used);
  bitmap(626, runList({{2, 1000}, {5001, -998}}));
  CHECK(account().used);
  bitmap(626, runList({{2, 1000}, {5002, -999}})); // more clusters than the volume has
  CHECK_FALSE(account().used);

  const Bytes bits = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F};
  for (std::uint64_t count = 0; count <= 90; ++count) {
    CHECK(countBits({bits.data(), bits.size()}, count) == std::min<std::uint64_t>(count, 76));
  }
}

TEST_CASE("a map of clusters that is read in several parts") {
  constexpr std::uint64_t kClusters = 40'000'003;
  Bytes image(12288 + kClusters / 8 + 1);
  image.back() = 0xF8; // beyond the last cluster
  std::mt19937 random(9);
  std::uint64_t expected = 0;
  for (std::size_t i = 12288; i < image.size(); i += 1 + random() % 999) {
    image[i] = static_cast<std::uint8_t>(random());
    for (unsigned bit = 0; bit < 8; ++bit) {
      if ((i - 12288) * 8 + bit < kClusters) expected += unsigned{image[i]} >> bit & 1U;
    }
  }
  put(image, 11, 512, 2);
  MemoryVolume volume(image);
  const MftLayout layout = {512, 12288, 1024, kClusters, 4};
  CHECK(usedClusters(volume, layout,
                     {{9, 0, {{10, 9}}}, {0, kClusters, {{1, 9}}}, {18, 0, {{19, 389}}}}) ==
        expected);
  CHECK(usedClusters(volume, {512, 12288, 1024, 8, 4}, {{0, 1, {{0, 1}}}}) == 0);
  CHECK_FALSE(usedClusters(volume, layout, {}));
}
