#include "scan/turbo/table_extents.h"

#include "scan/turbo/attribute_list.h"
#include "scan/words.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace vorda {

namespace {

constexpr std::size_t kSmallestBuffer = 4096;
// NTFS allows a quarter of this.
constexpr std::uint64_t kLargestAttributeList = 1'048'576;

std::uint64_t clustersOf(const std::vector<Extent>& extents) {
  return std::accumulate(extents.begin(), extents.end(), std::uint64_t{0},
                         [](std::uint64_t sum, const Extent& one) { return sum + one.count; });
}

std::uint64_t roundUp(std::uint64_t value, std::uint64_t step) {
  return (value + step - 1) / step * step;
}

class TableFinder {
public:
  TableFinder(Volume& volume, const MftLayout& layout, MftExtents& table)
      : volume_(volume), layout_(layout), table_(table), first_(bufferFor(layout.recordBytes)),
        other_(bufferFor(layout.recordBytes)) {}

  std::string_view find() {
    if (!first_ || !other_) return kMftMemory;
    const ByteView record = firstRecord();
    if (record.empty()) return failure_;
    std::optional<Attribute> data;
    std::optional<Attribute> list;
    AttributeWalk walk(record);
    Attribute attribute;
    while (walk.next(attribute)) {
      if (isPieceFrom(attribute, 0) && !data) data = attribute;
      if (attribute.type == kAttributeList && !list) list = attribute;
    }
    if (!data || data->realSize() == 0) return kMftNoData;
    table_.bytes = data->realSize();
    if (data->runs().u8(0) == 0) return kMftNoData;
    if (!addPiece(*data)) return kMftCorrupt;
    if (table_.bytes < layout_.recordBytes) return kMftRecordCount;
    if (list && !addPiecesOf(*list)) return kMftCorrupt;
    return covered() * layout_.clusterBytes >= table_.bytes ? std::string_view() : kMftCorrupt;
  }

private:
  PageBuffer bufferFor(std::uint64_t bytes) {
    return volume_.buffer(std::max<std::size_t>(static_cast<std::size_t>(bytes), kSmallestBuffer));
  }

  std::uint64_t covered() const { return clustersOf(table_.extents); }

  // Whether the attribute is the piece of the unnamed data stream that starts at this cluster.
  static bool isPieceFrom(const Attribute& attribute, std::uint64_t cluster) {
    return attribute.type == kData && !attribute.named() && !attribute.resident() &&
           attribute.firstCluster() == cluster;
  }

  ByteView repaired(std::uint8_t* record) {
    const ByteView view(record, layout_.recordBytes);
    return readHeader(view).file && applyFixups(record, view.size()) ? view : ByteView();
  }

  ByteView firstRecord() {
    const std::size_t size = std::max(layout_.recordBytes, layout_.sectorBytes);
    const std::uint64_t offset = layout_.tableCluster * layout_.clusterBytes;
    failure_ = kMftUnreadable;
    if (volume_.read(offset, first_.get(), size) != size) return {};
    failure_ = kMftCorrupt;
    return repaired(first_.get());
  }

  // Another record of the table, read from the extents found so far; empty if invalid.
  ByteView tableRecord(const FileReference& reference) {
    const std::uint64_t records = table_.bytes / layout_.recordBytes;
    if (reference.record >= records) return {};
    // A record is smaller than a sector or a multiple of one.
    const std::uint64_t offset = reference.record * layout_.recordBytes;
    const std::uint64_t into = offset % layout_.sectorBytes;
    const std::size_t size = std::max(layout_.recordBytes, layout_.sectorBytes);
    if (!readStream(volume_, layout_, table_.extents, offset - into, other_.get(), size)) return {};
    const ByteView record = repaired(other_.get() + into);
    const RecordHeader header = readHeader(record);
    const bool belongs = header.inUse && !header.base && header.baseReference.record == 0 &&
                         header.baseReference.sequence == readHeader(firstView()).sequence &&
                         header.sequence == reference.sequence;
    return belongs ? record : ByteView();
  }

  ByteView firstView() const { return {first_.get(), layout_.recordBytes}; }

  bool addPiece(const Attribute& attribute) {
    const std::size_t before = table_.extents.size();
    if (!decodeRuns(attribute.runs(), layout_.clusters, table_.extents) ||
        table_.extents.size() == before) {
      return false;
    }
    // More clusters than the volume has would mean overlaps; also prevents overflow of the sum.
    std::uint64_t left = layout_.clusters;
    for (const Extent& extent : table_.extents) {
      if (extent.count > left) return false;
      left -= extent.count;
    }
    return true;
  }

  bool addPiecesOf(const Attribute& list) {
    std::vector<DataPiece> pieces;
    if (!readList(list, pieces)) return false;
    for (const DataPiece& piece : pieces) {
      if (piece.firstCluster == 0) continue; // the one in the first record
      const bool inFirst = piece.holder.record == 0;
      const ByteView record = inFirst ? firstView() : tableRecord(piece.holder);
      if (piece.firstCluster != covered() || !addPieceFrom(record, piece.firstCluster)) {
        return false;
      }
    }
    return true;
  }

  bool addPieceFrom(ByteView record, std::uint64_t cluster) {
    AttributeWalk walk(record);
    Attribute attribute;
    while (walk.next(attribute)) {
      if (isPieceFrom(attribute, cluster)) return addPiece(attribute);
    }
    return false;
  }

  bool readList(const Attribute& list, std::vector<DataPiece>& pieces) {
    if (list.resident()) return decodeAttributeList(list.value(), pieces);
    const std::uint64_t bytes = list.realSize();
    std::vector<Extent> extents;
    if (bytes > kLargestAttributeList || list.firstCluster() != 0 ||
        !decodeRuns(list.runs(), layout_.clusters, extents)) {
      return false;
    }
    const std::uint64_t rounded = roundUp(bytes, layout_.sectorBytes);
    const PageBuffer buffer = bufferFor(rounded);
    if (!buffer || !readStream(volume_, layout_, extents, 0, buffer.get(),
                               static_cast<std::size_t>(rounded))) {
      return false;
    }
    return decodeAttributeList({buffer.get(), static_cast<std::size_t>(bytes)}, pieces);
  }

  Volume& volume_;
  const MftLayout& layout_;
  MftExtents& table_;
  PageBuffer first_;
  PageBuffer other_;
  std::string_view failure_;
};

} // namespace

bool readStream(Volume& volume, const MftLayout& layout, const std::vector<Extent>& extents,
                std::uint64_t offset, std::uint8_t* out, std::size_t size) {
  std::uint64_t skip = offset / layout.clusterBytes; // clusters before the requested part
  std::uint64_t into = offset % layout.clusterBytes;
  for (const Extent& extent : extents) {
    if (size == 0) break;
    if (skip >= extent.count) {
      skip -= extent.count;
      continue;
    }
    const std::uint64_t here = (extent.count - skip) * layout.clusterBytes - into;
    const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(here, size));
    const std::uint64_t from = (extent.cluster + skip) * layout.clusterBytes + into;
    if (volume.read(from, out, part) != part) return false;
    out += part;
    size -= part;
    skip = 0;
    into = 0;
  }
  return size == 0;
}

std::string_view findTable(Volume& volume, const MftLayout& layout, MftExtents& table) {
  return TableFinder(volume, layout, table).find();
}

} // namespace vorda
