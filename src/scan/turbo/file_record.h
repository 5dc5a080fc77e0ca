// Decodes a record of the master file table.
//
// NTFS file record: 0 "FILE" (4 bytes), 4 offset and 6 count of the update sequence (2 each), 16
// sequence number (2), 18 names (2), 20 first attribute (2), 22 flags (2: bit 0 in use, bit 1
// directory), 24 bytes in use (4), 32 base record (8, see FileReference).
// Attribute: 0 type (4), 4 length (4), 8 non-resident (1), 9 length (1) and 10 offset (2) of its
// name, 12 flags (2: bit 0 compressed, bit 15 sparse); resident: 16 length (4) and 20 offset (2)
// of the value; non-resident: 16 first virtual cluster (8), 32 offset of the run list (2), 40
// allocated size (8), 48 real size (8), 64 total allocated size (8) if compressed or sparse.
#pragma once

#include "base/byte_view.h"
#include "scan/reparse_tag.h"
#include "scan/turbo/boot_sector.h"

#include <algorithm>

namespace vorda {

inline constexpr std::uint32_t kStandardInformation = 0x10;
inline constexpr std::uint32_t kAttributeList = 0x20;
inline constexpr std::uint32_t kFileName = 0x30;
inline constexpr std::uint32_t kData = 0x80;
inline constexpr std::uint32_t kIndexAllocation = 0xA0;
inline constexpr std::uint32_t kBitmap = 0xB0;
inline constexpr std::uint32_t kReparsePoint = 0xC0;

inline constexpr std::uint32_t kNoRecord = 0xFFFFFFFF;

// A record number (low 48 bits) and the sequence number the record had when referenced.
struct FileReference {
  std::uint64_t record = 0;
  std::uint16_t sequence = 0;

  static FileReference of(std::uint64_t value) {
    return {value & 0xFFFF'FFFF'FFFFULL, static_cast<std::uint16_t>(value >> 48U)};
  }
};

struct RecordHeader {
  bool file = false;  // has the signature
  bool inUse = false; // regardless of the signature
  bool directory = false;
  std::uint16_t sequence = 0;
  std::uint16_t names = 0; // of the file, with its DOS names; in the base record only
  bool base = false;       // not an extension record
  FileReference baseReference;
};

RecordHeader readHeader(ByteView record);

// Checks the last two bytes of every 512 against the update sequence number and restores the
// saved ones. False, without changes, on a mismatch or if the sequence is outside the record.
bool applyFixups(std::uint8_t* record, std::size_t size);

struct Attribute {
  std::uint32_t type = 0;
  ByteView bytes; // the whole attribute

  bool resident() const { return bytes.u8(8) == 0; }
  bool named() const { return bytes.u8(9) != 0; }
  ByteView name() const { return bytes.part(bytes.u16(10), std::size_t{2} * bytes.u8(9)); }
  // Resident attributes only; empty if the value exceeds the attribute.
  ByteView value() const { return bytes.part(bytes.u16(20), bytes.u32(16)); }
  // Non-resident attributes only.
  std::uint64_t firstCluster() const { return bytes.u64(16); }
  std::uint64_t realSize() const { return bytes.u64(48); }
  // As the head says, in bytes and without holes; 0 in all pieces of a stream but the first.
  std::uint64_t allocatedSize() const {
    constexpr std::uint16_t kHasTotal = 0x8001;
    if (firstCluster() != 0) return 0;
    return (bytes.u16(12) & kHasTotal) != 0 ? bytes.u64(64) : bytes.u64(40);
  }
  ByteView runs() const { return bytes.from(bytes.u16(32)); }
};

// Iterates over the attributes of a record after applyFixups. Inline: it is turbo's innermost
// loop.
class AttributeWalk {
public:
  explicit AttributeWalk(ByteView record)
      : record_(record.part(0, std::min<std::size_t>(record.u32(24), record.size()))),
        at_(record.u16(20)) {}

  bool next(Attribute& attribute) {
    attribute.type = record_.u32(at_); // 0 at the end of the record
    if (attribute.type == kEnd) return false;
    const std::size_t length = record_.u32(at_ + 4);
    if (length < kSmallest || !record_.holds(at_, length)) {
      broken_ = attribute.type != 0; // zero-filled space ends the list too
      return false;
    }
    attribute.bytes = record_.part(at_, length);
    at_ += length;
    return true;
  }

  // Whether iteration stopped at an invalid attribute.
  bool broken() const { return broken_; }

private:
  static constexpr std::uint32_t kEnd = 0xFFFFFFFF;
  static constexpr std::size_t kSmallest = 16;

  ByteView record_; // the bytes in use
  std::size_t at_;
  bool broken_ = false;
};

// Allocated clusters, holes left out.
struct RecordClusters {
  std::uint64_t all = 0;     // of all attributes
  std::uint64_t data = 0;    // of the unnamed data stream
  std::uint64_t streams = 0; // of named data streams that are no compressed contents
  bool exact = true;         // false: a run list was damaged, and the head was believed instead
};

struct RecordValues {
  std::uint64_t size = 0;     // bytes of the unnamed data stream, from this record
  std::uint64_t modified = 0; // milliseconds since 1970 (UTC); 0: unknown
  ByteView name;              // UTF-16LE; empty: no name
  std::uint8_t nameRank = 0;  // lower is preferred
  std::uint32_t parent = kNoRecord;
  std::uint16_t parentSequence = 0;
  bool broken = false;         // invalid attribute or size
  bool cloud = false;          // contents that are not on the disk are in the cloud
  std::uint16_t fileNames = 0; // of any kind
  std::uint16_t ownNames = 0;  // other than DOS names
  RecordClusters clusters;
};

// The rank of a DOS (8.3) name, used only if the file has no other name.
inline constexpr std::uint8_t kDosNameRank = 4;

RecordValues readValues(ByteView record, const MftLayout& layout);

// One of the names of a file that are not DOS names.
struct OwnName {
  ByteView name; // UTF-16LE, not empty
  std::uint32_t parent = kNoRecord;
  std::uint16_t parentSequence = 0;
  std::uint8_t rank = 0;
};

// Empty if the attribute is no name of a file, or a DOS name.
OwnName ownNameOf(const Attribute& attribute);

} // namespace vorda
