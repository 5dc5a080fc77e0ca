#include "scan/turbo/table_extents.h"

#include "scan/words.h"
#include "support/mft_volume.h"

#include <doctest/doctest.h>

using namespace vorda;
using namespace vorda::test;

namespace {

using Change = std::function<void(MemoryVolume&)>;

// "records: cluster+count cluster+count", or the word of the failure.
std::string found(const Bytes& image, const Change& change = {}) {
  MemoryVolume volume(image);
  if (change) change(volume);
  MftLayout layout;
  REQUIRE(decodeBoot({image.data(), 4096}, layout).empty());
  MftExtents table;
  const std::string_view word = findTable(volume, layout, table);
  if (!word.empty()) return std::string(word);
  return std::to_string(table.bytes / 1024) + ": " + placesOf(table.extents);
}

constexpr std::uint64_t kWhole = 64 * 1024;
const Bytes kRuns = runList({{128, 64}});
const std::string kFound = "64: 64+128";
const std::string kCorrupt(kMftCorrupt);

} // namespace

TEST_CASE("the table is found among all other attributes of its record") {
  const Bytes other = runList({{1, 300}});
  TestVolume volume;
  CHECK(found(volume.image(TestRecord()
                               .stream(L"s", 99, {{1, 300}})
                               .nonResident(kData, 99, other, 5)
                               .nonResident(kData, kWhole, kRuns)
                               .nonResident(kData, 99, other)
                               .resident(kAttributeList, attributeList({{0, 0}}))
                               .resident(kAttributeList, Bytes(32)))) == kFound);
  Bytes image = volume.image(TestRecord().resident(kData, {}).nonResident(kData, kWhole, kRuns));
  put(image, 64 * 512 + 256 + 16, 0, 8); // where a stream on disk has its first cluster
  CHECK(found(image) == kFound);
  // A further piece in the same record, in its last half.
  for (const std::uint64_t at : {100U, 101U})
    CHECK(found(volume.image(TestRecord()
                                 .resident(kAttributeList, attributeList({{at, 0}}))
                                 .data(kWhole, {{100, 64}})
                                 .resident(kFileName, Bytes(300))
                                 .piece(at, {{28, 164}}))) ==
          (at == 100 ? "64: 64+100 164+28" : kCorrupt));
  CHECK(found(volume.image(TestRecord().nonResident(kData, 1024, kRuns))) == "1: 64+128");
  CHECK(found(volume.image(TestRecord().nonResident(kData, 1023, kRuns))) == kMftRecordCount);
  // More clusters than the volume has can only overlap.
  volume.sectors = 300;
  const auto twice = [&](std::uint32_t count) {
    return found(volume.image(TestRecord().data(kWhole, {{200, 64}, {count, 0}})));
  };
  CHECK(twice(100) == "64: 64+200 64+100");
  CHECK(twice(101) == kCorrupt);
  for (const std::size_t buffers : {0U, 1U}) {
    CHECK(found(TestVolume().image(),
                [buffers](MemoryVolume& one) { one.buffersLeft = buffers; }) == kMftMemory);
  }
}

TEST_CASE("a further record of the table must belong to it") {
  const std::uint64_t table = reference(0, 1);
  const auto piece = [](const TestRecord& record, const Bytes& runs = runList({{8, 300}})) {
    return TestRecord(record).name(L"$MFT", 5).nonResident(kData, 0, runs, 128);
  };
  const auto with = [&](const TestRecord& sixteen, std::uint64_t bytes = kWhole,
                        std::uint16_t sequence = 1) {
    TestVolume volume;
    volume.add(16, sixteen);
    return volume.image(TestRecord(false, 0, sequence)
                            .resident(kAttributeList, attributeList({{0, 0}, {128, 16}}))
                            .nonResident(kData, bytes, kRuns));
  };
  const TestRecord good(false, table);
  CHECK(found(with(piece(good))) == kFound + " 300+8");
  CHECK(found(with(piece(good), 17 * 1024)) == "17: 64+128 300+8");
  CHECK(found(with(piece(good), 16 * 1024)) == kCorrupt); // no record of the table
  CHECK(found(with(good)) == kCorrupt);                   // without the piece
  CHECK(found(with(piece(good, {0}))) == kCorrupt);       // which has no clusters
  CHECK(found(with(piece(good, {0x99}))) == kCorrupt);
  CHECK(found(with(piece(TestRecord(false, reference(0, 2))))) == kCorrupt);
  CHECK(found(with(piece(TestRecord(false, reference(3, 1))))) == kCorrupt);
  CHECK(found(with(piece(TestRecord(false, table, 2)))) == kCorrupt);
  CHECK(found(with(piece(TestRecord()), kWhole, 0)) == kCorrupt);
  Bytes unused = with(piece(good));
  put(unused, 64 * 512 + 16 * 1024 + 22, 0, 2);
  CHECK(found(unused) == kCorrupt);
}

TEST_CASE("an attribute list outside of its record") {
  const auto listOf = [](std::size_t bytes) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> pieces(bytes / 32 - 2, {0, 0});
    pieces.emplace_back(128, 16);
    return attributeList(pieces); // and one more
  };
  const auto with = [](const Bytes& list, std::uint64_t first = 0) {
    TestVolume volume;
    volume.extend(16, reference(0, 1)).piece(128, {{8, 300}});
    const auto clusters = static_cast<std::uint32_t>((list.size() + 511) / 512);
    Bytes image = volume.image(
        TestRecord()
            .nonResident(kAttributeList, list.size(), runList({{clusters, 1000}}), first)
            .nonResident(kData, kWhole, kRuns));
    image.resize(1000 * 512);
    image.insert(image.end(), list.begin(), list.end());
    return image;
  };
  constexpr std::size_t kMost = 1'048'576;
  CHECK(found(with(listOf(544))) == kFound + " 300+8");
  CHECK(found(with(listOf(512), 5)) == kCorrupt);
  CHECK(found(with(listOf(512)), [](MemoryVolume& volume) {
          volume.onRead = [](std::uint64_t offset) { return offset != 1000 * 512; };
        }) == kCorrupt);
  CHECK(found(with(listOf(kMost))) == kFound + " 300+8");
  CHECK(found(with(listOf(kMost)), [](MemoryVolume& volume) { volume.buffersLeft = 2; }) ==
        kCorrupt);
  CHECK(found(with(listOf(kMost + 32))) == kCorrupt);
}

TEST_CASE("parts of a stream, wherever its extents lie") {
  Bytes image = TestVolume().image();
  image.resize(40 * 2048);
  for (std::size_t i = 4096; i < image.size(); ++i) {
    image[i] = static_cast<std::uint8_t>(i / 512 * 3 + i % 7);
  }
  MemoryVolume volume(image);
  const MftLayout layout{.sectorBytes = 512, .clusterBytes = 2048};
  const std::vector<Extent> extents = {{10, 2}, {30, 1}, {5, 3}};
  Bytes whole;
  for (const Extent& one : extents) {
    const auto from = image.begin() + static_cast<std::ptrdiff_t>(one.cluster * 2048);
    whole.insert(whole.end(), from, from + static_cast<std::ptrdiff_t>(one.count * 2048));
  }
  const PageBuffer buffer = volume.buffer(whole.size() + 512);
  for (std::size_t from = 0; from <= whole.size(); from += 512) {
    for (std::size_t size = 512; size <= whole.size() + 512 - from; size += 512) {
      const bool inside = from + size <= whole.size();
      REQUIRE(readStream(volume, layout, extents, from, buffer.get(), size) == inside);
      if (!inside) continue;
      const auto at = whole.begin() + static_cast<std::ptrdiff_t>(from);
      CHECK(std::equal(at, at + static_cast<std::ptrdiff_t>(size), buffer.get()));
    }
  }
}
