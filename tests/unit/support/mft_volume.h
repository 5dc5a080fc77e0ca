// NTFS volumes in memory, built record by record.
#pragma once

#include "scan/turbo/record_table.h"
#include "scan/turbo/run_list.h"
#include "scan/turbo/tree_build.h"
#include "scan/turbo/volume.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <iterator>
#include <map>
#include <new>
#include <string>
#include <vector>

namespace vorda::test {

using Bytes = std::vector<std::uint8_t>;

inline void put(Bytes& bytes, std::size_t at, std::uint64_t value, std::size_t count) {
  if (bytes.size() < at + count) bytes.resize(at + count);
  for (std::size_t i = 0; i < count; ++i) {
    bytes[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

inline void putText(Bytes& bytes, const std::wstring& text) {
  for (const wchar_t unit : text) put(bytes, bytes.size(), static_cast<std::uint64_t>(unit), 2);
}

struct Patch {
  std::size_t at;
  std::uint64_t value;
  std::size_t count;
};

// So many bytes, with numbers at some places.
inline Bytes bytesOf(std::size_t size, const std::vector<Patch>& patches) {
  Bytes bytes(size);
  for (const Patch& one : patches) put(bytes, one.at, one.value, one.count);
  return bytes;
}

// Applies an update sequence to the record at this place.
inline void protect(Bytes& bytes, std::size_t at, std::size_t recordBytes) {
  put(bytes, at + 4, 48, 2);
  put(bytes, at + 6, recordBytes / 512 + 1, 2);
  put(bytes, at + 48, 0x4711, 2);
  for (std::size_t i = 1; i <= recordBytes / 512; ++i) {
    std::copy_n(bytes.data() + at + i * 512 - 2, 2, bytes.data() + at + 48 + 2 * i);
    put(bytes, at + i * 512 - 2, 0x4711, 2);
  }
}

inline std::uint64_t reference(std::uint64_t record, std::uint64_t sequence) {
  return record | sequence << 48U;
}

// { length, offset from the previous run }
using Runs = std::vector<std::pair<std::uint32_t, std::int64_t>>;

// Encodes runs with 4 bytes for each number.
inline Bytes runList(const Runs& runs) {
  Bytes list;
  for (const auto& [count, offset] : runs) {
    list.push_back(0x44);
    put(list, list.size(), count, 4);
    put(list, list.size(), static_cast<std::uint64_t>(offset), 4);
  }
  list.push_back(0);
  return list;
}

// Pieces of the unnamed stream: { first cluster, file reference; sequence number 1 is added }.
// The list also contains an entry of a named stream.
inline Bytes attributeList(const std::vector<std::pair<std::uint64_t, std::uint64_t>>& pieces) {
  Bytes list;
  const auto add = [&list](std::uint64_t cluster, std::uint64_t holder, bool named) {
    const Bytes entry = bytesOf(32, {{0, kData, 4},
                                     {4, 32, 2},
                                     {6, named ? 1U : 0U, 1},
                                     {8, cluster, 8},
                                     {16, holder + reference(0, 1), 8}});
    list.insert(list.end(), entry.begin(), entry.end());
  };
  add(77, 15, true);
  for (const auto& [cluster, holder] : pieces) add(cluster, holder, false);
  return list;
}

class TestRecord {
public:
  // By default a base record with sequence number 1.
  explicit TestRecord(bool directory = false, std::uint64_t base = 0, std::uint16_t sequence = 1) {
    // Leaves room for any update sequence.
    bytes_ = bytesOf(
        256, {{16, sequence, 2}, {20, 256, 2}, {22, directory ? 3U : 1U, 2}, {32, base, 8}});
    std::copy_n("FILE", 4, bytes_.begin());
  }

  TestRecord& resident(std::uint32_t type, const Bytes& value) {
    Bytes attribute = bytesOf(24, {{16, value.size(), 4}, {20, 24, 4}});
    attribute.insert(attribute.end(), value.begin(), value.end());
    return add(type, attribute);
  }

  TestRecord& nonResident(std::uint32_t type, std::uint64_t size, const Bytes& runs = {0},
                          std::uint64_t firstCluster = 0, const std::wstring& name = {}) {
    Bytes attribute = bytesOf(
        64, {{8, 1, 1}, {9, name.size(), 1}, {10, 64, 2}, {16, firstCluster, 8}, {48, size, 8}});
    putText(attribute, name);
    put(attribute, 32, attribute.size(), 2);
    attribute.insert(attribute.end(), runs.begin(), runs.end());
    return add(type, attribute);
  }

  // A stream of this many bytes with a name.
  TestRecord& stream(const std::wstring& name, std::uint64_t size, const Runs& runs = {}) {
    return nonResident(kData, size, runList(runs), 0, name);
  }

  // Contents in these clusters, and a later piece of them.
  TestRecord& data(std::uint64_t size, const Runs& runs = {}) {
    return nonResident(kData, size, runList(runs));
  }
  TestRecord& piece(std::uint64_t firstCluster, const Runs& runs) {
    return nonResident(kData, 0, runList(runs), firstCluster);
  }
  // How many names the file has, as the record says.
  TestRecord& names(std::uint16_t count) {
    put(bytes_, 18, count, 2);
    return *this;
  }

  TestRecord& attributes(std::uint32_t flags) {
    return resident(kStandardInformation, bytesOf(48, {{32, flags, 4}}));
  }

  TestRecord& reparse(std::uint32_t tag) {
    return resident(kReparsePoint, bytesOf(16, {{0, tag, 4}}));
  }

  TestRecord& modified(std::uint64_t fileTime) {
    return resident(kStandardInformation, bytesOf(32, {{8, fileTime, 8}}));
  }

  TestRecord& name(const std::wstring& name, std::uint64_t parent, std::uint8_t nameSpace = 1) {
    Bytes value = bytesOf(66, {{0, parent, 8}, {64, name.size(), 1}, {65, nameSpace, 1}});
    putText(value, name);
    return resident(kFileName, value);
  }

  TestRecord& file(const std::wstring& called, std::uint64_t parent, std::uint64_t size) {
    return name(called, parent).nonResident(kData, size);
  }

  // With end marker and update sequence applied.
  Bytes finished(std::size_t recordBytes) const {
    Bytes bytes = bytes_;
    put(bytes, bytes.size(), 0xFFFFFFFF, 4);
    put(bytes, 24, bytes.size() + 4, 4);
    bytes.resize(recordBytes);
    protect(bytes, 0, recordBytes);
    return bytes;
  }

private:
  TestRecord& add(std::uint32_t type, Bytes& attribute) {
    attribute.resize((attribute.size() + 7) / 8 * 8);
    put(attribute, 0, type, 4);
    put(attribute, 4, attribute.size(), 4);
    bytes_.insert(bytes_.end(), attribute.begin(), attribute.end());
    return *this;
  }

  Bytes bytes_;
};

// A volume of 1,024-byte records whose table begins at cluster 64.
struct TestVolume {
  std::uint32_t sectorBytes = 512;
  std::uint32_t clusterBytes = 512;
  std::uint32_t tableRecords = 64;
  std::map<std::uint32_t, TestRecord> records; // without record 0
  TestRecord first;                            // record 0 without its data
  // Extents of the table: count and absolute first cluster.
  std::vector<std::pair<std::uint32_t, std::uint32_t>> extents{{128, 64}};
  std::uint64_t sectors = 0x100000;

  TestVolume() {
    records.emplace(5, TestRecord(true, 0, 5).name(L".", reference(5, 5)));
    first.name(L"$MFT", reference(5, 5));
  }

  TestRecord& add(std::uint32_t number, TestRecord record = TestRecord()) {
    return records.insert_or_assign(number, std::move(record)).first->second;
  }
  TestRecord& addFolder(std::uint32_t number) { return add(number, TestRecord(true)); }
  TestRecord& extend(std::uint32_t number, std::uint64_t base) {
    return add(number, TestRecord(false, base));
  }

  Bytes image() const {
    Runs runs;
    for (std::int64_t before = 0; const auto& [count, at] : extents) {
      runs.emplace_back(count, at - before);
      before = at;
    }
    TestRecord zero = first;
    return image(zero.nonResident(kData, std::uint64_t{tableRecords} * 1024, runList(runs)));
  }

  Bytes image(const TestRecord& zero) const {
    Bytes bytes = bytesOf(4096, {{11, sectorBytes, 2},
                                 {13, clusterBytes / sectorBytes, 1},
                                 {40, sectors, 8},
                                 {48, 64, 8},
                                 {64, 0xF6, 1}});
    std::copy_n("NTFS    ", 8, bytes.begin() + 3);
    Bytes table = zero.finished(1024);
    for (const auto& [number, record] : records) {
      table.resize(std::max<std::size_t>(table.size(), std::size_t{number} * 1024));
      const Bytes one = record.finished(1024);
      table.insert(table.end(), one.begin(), one.end());
    }
    std::size_t done = 0;
    for (const auto& [count, at] : extents) {
      const std::size_t part =
          std::min<std::size_t>(std::size_t{count} * clusterBytes, table.size() - done);
      const std::size_t from = std::size_t{at} * clusterBytes;
      if (bytes.size() < from + part) bytes.resize(from + part);
      std::copy_n(table.data() + done, part, bytes.data() + from);
      done += part;
    }
    return bytes;
  }
};

// "cluster+count cluster+count"
inline std::string placesOf(const std::vector<Extent>& extents) {
  std::string text;
  for (const Extent& one : extents) {
    text +=
        (text.empty() ? "" : " ") + std::to_string(one.cluster) + "+" + std::to_string(one.count);
  }
  return text;
}

// Adds a name to a pool; false if that is full.
inline bool added(NamePool::Writer& writer, const std::wstring& text, PooledName& name) {
  Bytes bytes;
  putText(bytes, text);
  return writer.add({bytes.data(), bytes.size()}, name);
}

// Like the system, reads only whole sectors into aligned memory. Zeroes follow the image. Ends the
// test where nothing is read, or something outside of the buffers.
class MemoryVolume final : public Volume {
public:
  explicit MemoryVolume(Bytes image) : image_(std::move(image)) {}
  std::function<bool(std::uint64_t offset)> onRead; // false: the read fails
  std::size_t mostBuffer = std::size_t{1} << 30U;   // bytes
  std::size_t buffersLeft = 1000;

  std::size_t read(std::uint64_t offset, std::uint8_t* out, std::size_t size) override {
    const std::size_t sector = std::size_t{image_[11]} | std::size_t{image_[12]} << 8U;
    const auto buffer = buffers_.upper_bound(out);
    if (size == 0 || buffer == buffers_.begin() ||
        out + size > std::prev(buffer)->first + std::prev(buffer)->second) {
      std::terminate();
    }
    const bool aligned = sector == 0 || (offset % sector == 0 && size % sector == 0 &&
                                         reinterpret_cast<std::uintptr_t>(out) % sector == 0);
    if (!aligned || (onRead && !onRead(offset))) return 0;
    std::fill_n(out, size, std::uint8_t{0});
    if (offset < image_.size()) {
      std::copy_n(image_.data() + offset, std::min<std::size_t>(size, image_.size() - offset), out);
    }
    return size;
  }

  PageBuffer buffer(std::size_t size) override {
    constexpr std::align_val_t kPage{4096};
    const auto free = [](std::uint8_t* at) { operator delete(at, kPage); };
    if (size > mostBuffer || buffersLeft == 0) return {nullptr, free};
    --buffersLeft;
    PageBuffer made(static_cast<std::uint8_t*>(operator new(size, kPage)), free);
    buffers_[made.get()] = size;
    return made;
  }

private:
  Bytes image_;
  std::map<const std::uint8_t*, std::size_t> buffers_; // all there ever were
};

} // namespace vorda::test
