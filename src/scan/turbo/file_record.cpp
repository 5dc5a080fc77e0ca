#include "scan/turbo/file_record.h"

#include "base/time.h"

#include <cstring>

namespace vorda {

namespace {

constexpr std::uint32_t kFileSignature = 0x454C4946; // "FILE"
constexpr std::size_t kStride = 512;
constexpr std::size_t kNonResidentHeader = 56; // up to and including the real size
constexpr std::size_t kNameOffset = 66;        // in the value of a $FILE_NAME attribute
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

void takeStandardInformation(const Attribute& attribute, RecordValues& values) {
  const ByteView value = attribute.value();
  if (attribute.resident() && value.size() >= 32) {
    values.modified = unixMsFromFileTime(value.u64(8));
  }
}

void takeFileName(const Attribute& attribute, RecordValues& values) {
  const ByteView value = attribute.value();
  if (!attribute.resident() || value.size() < kNameOffset) return;
  const ByteView name =
      attribute.bytes.part(attribute.bytes.u16(20) + kNameOffset, std::size_t{2} * value.u8(64));
  if (name.empty()) return;
  const std::uint8_t rank = rankOf(value.u8(65));
  if (!values.name.empty() && values.nameRank <= rank) return;
  const FileReference parent = FileReference::of(value.u64(0));
  values.name = name;
  values.nameRank = rank;
  values.parent = parent.record < kNoRecord ? static_cast<std::uint32_t>(parent.record) : kNoRecord;
  values.parentSequence = parent.sequence;
}

void takeData(const Attribute& attribute, RecordValues& values) {
  if (attribute.named()) return;
  std::uint64_t size = 0;
  if (attribute.resident()) {
    size = attribute.value().size();
  } else if (attribute.firstCluster() == 0 && attribute.bytes.size() >= kNonResidentHeader) {
    size = attribute.realSize();
  }
  if (size > kLargestFile - values.size) {
    values.broken = true;
    return;
  }
  values.size += size;
}

} // namespace

RecordHeader readHeader(ByteView record) {
  RecordHeader header;
  header.file = record.u32(0) == kFileSignature;
  const std::uint16_t flags = record.u16(22);
  header.inUse = (flags & 1U) != 0;
  header.directory = (flags & 2U) != 0;
  header.sequence = record.u16(16);
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

RecordValues readValues(ByteView record) {
  RecordValues values;
  AttributeWalk walk(record);
  Attribute attribute;
  while (walk.next(attribute)) {
    switch (attribute.type) {
    case kStandardInformation: takeStandardInformation(attribute, values); break;
    case kFileName: takeFileName(attribute, values); break;
    case kData: takeData(attribute, values); break;
    default: break;
    }
  }
  values.broken = values.broken || walk.broken();
  return values;
}

} // namespace vorda
