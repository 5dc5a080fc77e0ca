#include "base/text.h"
#include "scan/turbo/attribute_list.h"
#include "scan/turbo/record_table.h"

#include "support/mft_volume.h"

#include <doctest/doctest.h>

#include <sstream>

using namespace vorda;
using namespace vorda::test;

namespace {

const MftLayout kLayout = {512, 512, 1024, 1000, 64};
constexpr std::uint64_t kLargest = 1ULL << 53U; // bytes of a file
constexpr std::uint32_t kCloud = 0x9000'601A;

std::string textOf(ByteView units) {
  std::wstring text;
  for (std::size_t i = 0; i < units.size(); i += 2) text.push_back(units.u16(i));
  return toUtf8(text);
}

// "size modified | all/data/streams clusters | name@parent/sequence, names/own names", signs, and
// behind ":" all own names. The first attribute is at 256.
std::string told(const TestRecord& record, const std::vector<Patch>& patches = {}) {
  Bytes bytes = record.finished(1024);
  for (const Patch& one : patches) put(bytes, one.at, one.value, one.count);
  REQUIRE(applyFixups(bytes.data(), bytes.size()));
  const RecordValues values = readValues({bytes.data(), bytes.size()}, kLayout);
  const RecordClusters& clusters = values.clusters;
  std::ostringstream text;
  text << values.size << ' ' << values.modified << " | " << clusters.all << '/' << clusters.data
       << '/' << clusters.streams << " | " << textOf(values.name) << '@' << values.parent << '/'
       << values.parentSequence << ", " << values.fileNames << '/' << values.ownNames
       << (values.broken ? " broken" : "") << (values.cloud ? " cloud" : "")
       << (clusters.exact ? "" : " believed");
  AttributeWalk walk({bytes.data(), bytes.size()});
  std::string names;
  for (Attribute attribute; walk.next(attribute);) {
    const OwnName own = ownNameOf(attribute);
    if (!own.name.empty()) names += " " + textOf(own.name);
  }
  return text.str() + (names.empty() ? "" : " :" + names);
}

std::wstring kept(const NamePool& pool, const PooledName& name) {
  std::wstring text;
  pool.read(name, text);
  return text;
}

} // namespace

TEST_CASE("what one record says") {
  struct Row {
    std::string expected;
    TestRecord record;
    std::vector<Patch> patches = {};
  };
  const std::string nothing = "0 0 | 0/0/0 | @4294967295/0, 0/0";
  const std::string nameless = " | 0/0/0 | @4294967295/0, 0/0";
  const std::uint64_t home = reference(20, 7);
  const std::uint64_t other = reference(9, 9);
  const TestRecord small = TestRecord().resident(kData, Bytes(5));
  const TestRecord damaged = TestRecord().nonResident(kData, 9, {0x99});
  const std::uint64_t time = 116'444'736'000'000'000 + 5 * 10'000;
  // The head of an attribute that is not resident, read as if it were: a value from byte 24 or 64 on.
  const auto from24 = [](std::uint64_t size) { return size | 24ULL << 32U; };
  const auto from64 = [](std::uint64_t size) { return size | 64ULL << 32U; };
  const std::vector<Row> rows = {
      // Times, and attributes of files in the cloud, only from values that hold them.
      {"0 5" + nameless, TestRecord().resident(kStandardInformation, bytesOf(32, {{8, time, 8}}))},
      {nothing, TestRecord().resident(kStandardInformation, bytesOf(31, {{8, time, 8}}))},
      {nothing,
       TestRecord().nonResident(kStandardInformation, 0, {0}, from24(32)),
       {{256 + 34, time >> 16U, 6}}},
      {nothing, TestRecord().resident(kStandardInformation, bytesOf(72, {{64, 2, 1}}))},
      {nothing + " cloud", TestRecord().reparse(kCloud)},
      {nothing + " believed",
       TestRecord().nonResident(kReparsePoint, 0, {0x1A, 0x60, 0x00, 0x90}, from64(4))},
      {"4" + nothing.substr(1), TestRecord().resident(kData, {0x1A, 0x60, 0x00, 0x90})},
      // Of several names the one of the lowest rank, and of those the first.
      {"0 0 | 0/0/0 | b@20/7, 5/4 : a b c d", TestRecord()
                                                  .name(L"a", other, 9)
                                                  .name(L"A~1", other, 2)
                                                  .name(L"b", home, 3)
                                                  .name(L"c", other, 9)
                                                  .name(L"d", other, 3)},
      {"0 0 | 0/0/0 | p@20/7, 2/2 : l p", TestRecord().name(L"l", other, 3).name(L"p", home, 0)},
      {"0 0 | 0/0/0 | A~1@20/7, 1/0", TestRecord().name(L"A~1", home, 2)},
      {"0 0 | 0/0/0 | f@4294967295/7, 1/1 : f", TestRecord().name(L"f", reference(1ULL << 32U, 7))},
      // No names: too short, empty, beyond the attribute, or not resident.
      {nothing, TestRecord().resident(kFileName, bytesOf(65, {{64, 1, 1}}))},
      {"0 0 | 0/0/0 | x@0/0, 1/1 : x",
       TestRecord().resident(kFileName, bytesOf(66, {{64, 1, 1}})),
       {{256 + 24 + 66, 'x', 2}}},
      {nothing, TestRecord().name(L"beyond", home), {{256 + 24 + 64, 200, 1}}},
      {nothing,
       TestRecord().nonResident(kFileName, 0, bytesOf(32, {{24, 1, 1}, {26, 'x', 2}}), from24(68))},
      // Sizes: pieces add up, but no file is larger than any can be.
      {std::to_string(kLargest) + " 5 | 0/0/0 | @4294967295/0, 0/0",
       TestRecord()
           .modified(time)
           .resident(kData, Bytes(5))
           .data(kLargest - 5)
           .nonResident(kData, 7, {0}, 1)},
      {"5" + nothing.substr(1) + " broken", TestRecord(small).data(kLargest - 4)},
      {"0" + nothing.substr(1) + " broken", TestRecord().data(~0ULL)},
      {nothing, TestRecord().data(0).stream(L"s", 5)},
      // Clusters: those of other streams are told apart, unless they are the compressed contents.
      {"9 0 | 15/1/2 | @4294967295/0, 0/0",
       TestRecord()
           .nonResident(kIndexAllocation, 0, runList({{8, 10}}))
           .data(9, {{1, 20}})
           .stream(L"Zone", 9, {{2, 30}})
           .stream(L"WofCompressedData", 9, {{4, 40}})},
      {"0 0 | 7/0/7 | @4294967295/0, 0/0", TestRecord()
                                               .stream(L"WofCompressedDatb", 9, {{1, 30}})
                                               .stream(L"WofCompressedData2", 9, {{2, 40}})
                                               .stream(L"WofCompressed", 9, {{4, 50}})},
      // Where the run list is damaged, the head is believed, but never more than the volume has.
      {"9 0 | 5/5/0 | @4294967295/0, 0/0 believed", damaged, {{256 + 40, 5 * 512 + 511, 8}}},
      {"9 0 | 3/3/0 | @4294967295/0, 0/0 believed",
       TestRecord().nonResident(kData, 9, {0, 6, 0, 0, 0, 0, 0, 0, 0x99}),
       {{256 + 12, 1, 2}, {256 + 32, 72, 2}}},
      {nothing + " believed", TestRecord().nonResident(kData, 9, {0x99}, 1), {{256 + 40, 512, 8}}},
      {"9 0 | 1000/300/0 | @4294967295/0, 0/0 believed",
       TestRecord().nonResident(kIndexAllocation, 9, {0x99}).nonResident(kData, 9, {0x99}),
       {{256 + 40, 700 * 512, 8}, {256 + 72 + 40, 600 * 512, 8}}},
      {"9 0 | 1000/1000/0 | @4294967295/0, 0/0 believed", damaged, {{256 + 40, 1ULL << 60U, 8}}},
      // Attributes that reach beyond the record, or are shorter than any can be, end the list.
      {nothing + " broken", small, {{256 + 4, 800, 4}}},
      {nothing + " broken", small, {{256 + 4, 15, 4}}},
      {nothing, small, {{256 + 4, 16, 4}, {256 + 16, 0xFFFFFFFF, 4}}},
      {nothing, small, {{20, 2000, 2}}},
  };
  for (const Row& row : rows) CHECK(told(row.record, row.patches) == row.expected);
}

TEST_CASE("the ends of sectors are checked and given back") {
  Bytes pattern(744); // up to the end of the record
  for (std::size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<std::uint8_t>(i * 7);
  const Bytes good = TestRecord().resident(kData, pattern).finished(1024);
  Bytes bytes = good;
  CHECK(applyFixups(bytes.data(), bytes.size()));
  CHECK(std::equal(pattern.begin(), pattern.end(), bytes.begin() + 280));
  Bytes torn = good;
  put(torn, 1022, 0x4712, 2);
  bytes = torn;
  CHECK_FALSE(applyFixups(bytes.data(), bytes.size()));
  CHECK(bytes == torn);
  Bytes small = bytesOf(100, {{4, 48, 2}, {6, 1, 2}}); // no sector at all
  CHECK_FALSE(applyFixups(small.data(), small.size()));
}

TEST_CASE("entries of attribute lists") {
  const auto listed = [](const Bytes& list) {
    std::vector<DataPiece> pieces;
    std::ostringstream text;
    if (!decodeAttributeList({list.data(), list.size()}, pieces)) return std::string("refused");
    for (const DataPiece& one : pieces) {
      text << ' ' << one.firstCluster << '@' << one.holder.record << '/' << one.holder.sequence;
    }
    return text.str();
  };
  CHECK(listed({}).empty());
  CHECK(listed(attributeList({{7, 5}, {9, 4}, {0, reference(6, 1)}})) == " 0@6/2 7@5/1 9@4/1");
  Bytes list = attributeList({{9, 4}, {8, 5}});
  put(list, 32, kFileName, 4);
  CHECK(listed(list) == " 8@5/1");
  const Bytes shortest = bytesOf(24, {{0, kData, 4}, {4, 24, 2}, {8, 3, 8}, {16, 2, 8}});
  CHECK(listed(shortest) == " 3@2/0");
  for (const std::uint64_t length : {0U, 23U, 25U}) {
    Bytes wrong = shortest;
    put(wrong, 4, length, 2);
    CHECK(listed(wrong) == "refused");
  }
}

TEST_CASE("a name is kept as it is, but for what would change the meaning of a path") {
  NamePool pool;
  NamePool::Writer writer(pool);
  constexpr wchar_t kReplacement = 0xFFFD;
  constexpr std::size_t kLongest = 9; // names are read four units at a time
  for (std::size_t length = 1; length <= kLongest; ++length) {
    for (std::size_t at = 0; at < length; ++at) {
      for (const wchar_t unit :
           {L'\0', L'/', L'\\', L'0', L'[', L'.', L'\x80', L'\xFF', L'\x100', L'\x2F00'}) {
        std::wstring name(length, L'n');
        name[at] = unit;
        std::wstring wanted = name;
        const bool replaced = unit == L'\0' || unit == L'/' || unit == L'\\' || name == L".";
        if (replaced) wanted[at] = kReplacement;
        PooledName pooled;
        REQUIRE(added(writer, name, pooled));
        CHECK(pooled.narrow == (!replaced && unit < 0x100));
        CHECK(kept(pool, pooled) == wanted);
      }
    }
  }
  PooledName dots;
  REQUIRE(added(writer, L"..", dots));
  CHECK(kept(pool, dots) == std::wstring(2, kReplacement));
  REQUIRE(added(writer, L"...", dots));
  CHECK(kept(pool, dots) == L"...");
}

TEST_CASE("writers fill blocks of their own, to the last byte") {
  NamePool pool(2);
  NamePool::Writer one(pool);
  PooledName first;
  REQUIRE(added(one, L"first", first));
  NamePool::Writer other(pool);
  const std::wstring half(128, L'\u0234'); // 256 bytes
  PooledName name;
  for (int i = 0; i < 8191; ++i) REQUIRE(added(i % 2 == 0 ? other : one, half, name));
  CHECK_FALSE(added(one, std::wstring(126, L'\u0234'), name)); // half of it would fit
  REQUIRE(name.length == half.size());
  CHECK(kept(pool, first) == L"first");
  NamePool::Writer full(pool);
  for (NamePool::Writer* writer : {&one, &other, &full}) CHECK_FALSE(added(*writer, L"x", name));
}

TEST_CASE("extension records are applied in order, and only to the record they belong to") {
  RecordTable table;
  REQUIRE(table.allocate(8));
  for (const std::uint32_t record : {1U, 2U, 4U, 5U}) {
    table[record].flags = RecordEntry::kSeen;
    table[record].sequence = static_cast<std::uint16_t>(record);
  }
  table[2].flags |= RecordEntry::kDirectory;
  table[4].flags |= RecordEntry::kCloud;
  // Record, base, its sequence, clusters in streams and of the contents, names, rank and place of a name.
  std::vector<RecordExtension> extensions;
  const auto extend = [&](std::uint32_t record, std::uint32_t base, std::uint16_t sequence,
                          const RecordClusters& clusters, std::uint16_t names, std::uint8_t rank,
                          std::uint32_t nameAt) {
    extensions.push_back({.size = 1000 + record,
                          .clusters = clusters,
                          .record = record,
                          .base = base,
                          .name = {nameAt, static_cast<std::uint8_t>(nameAt == 0 ? 0 : 3)},
                          .parent = 60 + record,
                          .parentSequence = static_cast<std::uint16_t>(70 + record),
                          .baseSequence = sequence,
                          .fileNames = names,
                          .nameRank = rank});
  };
  extend(30, 4, 4, {9, 4, 2, true}, 1, 0, 300);
  extend(20, 4, 4, {5, 3, 1, true}, 2, 0, 200);
  extend(25, 4, 4, {0, 1, 0, true}, 0, 0, 0);
  extend(21, 1, 1, {7, 7, 0, true}, 0, kDosNameRank, 210);
  extend(26, 1, 1, {0, 0, 0, true}, 1, 0, 260);
  extend(22, 3, 0, {8, 8, 8, true}, 1, 0, 220); // there is none
  extend(23, 5, 6, {8, 8, 8, true}, 1, 0, 230); // another file by now
  table.sideFacts = {{3, 0, 5, 0}, {10, 20, 4, 6}};
  const auto side = [&](std::uint32_t record, std::uint16_t sequence, std::uint32_t at) {
    table.sideNames.push_back({record, 0, {at, 1}, sequence});
  };
  side(5, 5, 1);
  side(4, 4, 2);
  side(3, 0, 3);
  side(2, 2, 4);
  side(1, 2, 5);
  side(4, 4, 6);
  side(1, 1, 7);
  applyExtensions(table, extensions);
  std::ostringstream told;
  for (const std::uint32_t record : {1U, 3U, 4U, 5U}) {
    const RecordEntry& one = table[record];
    told << one.size << ' ' << one.clusters << ' ' << one.nameAt << ' ' << one.parent << '/'
         << one.parentSequence << ", ";
  }
  for (const SideFacts& one : table.sideFacts) {
    told << one.record << ':' << one.streams << '/' << one.data << '/' << one.namesLeft << ' ';
  }
  for (const SideName& one : table.sideNames) told << ' ' << one.name.at;
  CHECK(told.str() == "2047 7 260 86/96, 0 0 0 0/0, 3075 14 200 80/90, 0 0 0 0/0, "
                      "1:0/0/-1 4:13/28/3 5:3/0/0  7 2 6 1");
}
