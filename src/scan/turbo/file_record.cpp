#include "scan/turbo/file_record.h"

#include "base/time.h"
#include "scan/turbo/run_list.h"

#include <cstring>

namespace vorda {

namespace {

constexpr std::uint32_t kFileSignature = 0x454C4946; // "FILE"
constexpr std::size_t kStride = 512;
constexpr std::size_t kNameOffset = 66; // in the value of a $FILE_NAME attribute
// No NTFS file is larger; anything above is damage.
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 53U;

std::uint8_t rankOf(std::uint8_t nameSpace) {
  switch (nameSpace) {
  case 0: return 0; // POSIX
  case 1: return 1; // Windows
  case 2: return kDosNameRank;
  case 3: return 2; // Windows and DOS
  default: return 3;
  }
}

constexpr std::string_view kCompressedStream = "WofCompressedData";

bool isCompressedStream(ByteView name) {
  if (name.size() != 2 * kCompressedStream.size()) return false;
  for (std::size_t i = 0; i < kCompressedStream.size(); ++i) {
    if (name.u16(2 * i) != static_cast<std::uint8_t>(kCompressedStream[i])) return false;
  }
  return true;
}

// The name is empty if the attribute has none.
OwnName decodeName(const Attribute& attribute) {
  const ByteView value = attribute.value();
  if (!attribute.resident() || value.size() < kNameOffset) return {};
  OwnName found;
  found.name =
      attribute.bytes.part(attribute.bytes.u16(20) + kNameOffset, std::size_t{2} * value.u8(64));
  const FileReference parent = FileReference::of(value.u64(0));
  found.rank = rankOf(value.u8(65));
  found.parent = static_cast<std::uint32_t>(std::min<std::uint64_t>(parent.record, kNoRecord));
  found.parentSequence = parent.sequence;
  return found;
}

class ValueReader {
public:
  explicit ValueReader(const MftLayout& layout) : layout_(layout) {}

  RecordValues read(ByteView record) {
    AttributeWalk walk(record);
    Attribute attribute;
    while (walk.next(attribute)) {
      switch (attribute.type) {
      case kStandardInformation: takeStandardInformation(attribute); break;
      case kFileName: takeFileName(attribute); break;
      case kData: takeData(attribute); break;
      case kReparsePoint: takeReparsePoint(attribute); break;
      default: break;
      }
      if (!attribute.resident()) takeClusters(attribute);
    }
    values_.broken = values_.broken || walk.broken();
    values_.cloud = isCloudFile(attributes_, tag_);
    return values_;
  }

private:
  void takeStandardInformation(const Attribute& attribute) {
    const ByteView value = attribute.value();
    if (!attribute.resident() || value.size() < 32) return;
    values_.modified = unixMsFromFileTime(value.u64(8));
    attributes_ = value.u32(32);
  }

  void takeFileName(const Attribute& attribute) {
    const OwnName found = decodeName(attribute);
    if (found.name.empty()) return;
    ++values_.fileNames;
    if (found.rank != kDosNameRank) ++values_.ownNames;
    if (!values_.name.empty() && values_.nameRank <= found.rank) return;
    values_.name = found.name;
    values_.nameRank = found.rank;
    values_.parent = found.parent;
    values_.parentSequence = found.parentSequence;
  }

  void takeData(const Attribute& attribute) {
    if (attribute.named()) return;
    std::uint64_t size = 0;
    if (attribute.resident()) {
      size = attribute.value().size();
    } else if (attribute.firstCluster() == 0) {
      size = attribute.realSize();
    }
    if (size > kLargestFile - values_.size) {
      values_.broken = true;
      return;
    }
    values_.size += size;
  }

  void takeReparsePoint(const Attribute& attribute) {
    // One that is not resident has an attribute of the file beside it if it is a placeholder.
    if (attribute.resident()) tag_ = attribute.value().u32(0);
  }

  void takeClusters(const Attribute& attribute) {
    RecordClusters& sums = values_.clusters;
    std::uint64_t count = 0;
    if (!countClusters(attribute.runs(), layout_.clusters, count)) {
      sums.exact = false;
      count = std::min(attribute.allocatedSize() / layout_.clusterBytes, layout_.clusters);
    }
    // Damage only, and never more than this record alone could claim.
    count = std::min(count, layout_.clusters - sums.all);
    sums.all += count;
    if (attribute.type != kData) return;
    if (!attribute.named()) {
      sums.data += count;
    } else if (!isCompressedStream(attribute.name())) {
      sums.streams += count;
    }
  }

  const MftLayout& layout_;
  RecordValues values_;
  std::uint32_t attributes_ = 0;
  std::uint32_t tag_ = kNoReparseTag;
};

} // namespace

RecordHeader readHeader(ByteView record) {
  RecordHeader header;
  header.file = record.u32(0) == kFileSignature;
  const std::uint16_t flags = record.u16(22);
  header.inUse = (flags & 1U) != 0;
  header.directory = (flags & 2U) != 0;
  header.sequence = record.u16(16);
  header.names = record.u16(18);
  const std::uint64_t base = record.u64(32);
  header.base = base == 0;
  header.baseReference = FileReference::of(base);
  return header;
}

bool applyFixups(std::uint8_t* record, std::size_t size) {
  const ByteView view(record, size);
  const std::size_t strides = size / kStride;
  const ByteView sequence = view.part(view.u16(4), std::size_t{2} * view.u16(6));
  if (strides == 0 || sequence.size() != 2 * (strides + 1)) return false;
  const std::uint16_t number = sequence.u16(0);
  for (std::size_t i = 1; i <= strides; ++i) {
    if (view.u16(i * kStride - 2) != number) return false;
  }
  for (std::size_t i = 1; i <= strides; ++i) {
    std::memmove(record + i * kStride - 2, sequence.data() + 2 * i, 2);
  }
  return true;
}

RecordValues readValues(ByteView record, const MftLayout& layout) {
  return ValueReader(layout).read(record);
}

OwnName ownNameOf(const Attribute& attribute) {
  if (attribute.type != kFileName) return {};
  const OwnName found = decodeName(attribute);
  return found.rank != kDosNameRank ? found : OwnName{};
}

} // namespace vorda
