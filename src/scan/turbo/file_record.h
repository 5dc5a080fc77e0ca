// One record of the master file table: its protection, its attributes, and what a scan
// wants to know of it.
//
// Record: 0 "FILE" (4 bytes), 4 offset and 6 count of the update sequence (2 each), 16
// sequence number (2), 20 first attribute (2), 22 flags (2: bit 0 in use, bit 1
// directory), 24 bytes in use (4), 32 base record (8, see FileReference).
// Attribute: 0 type (4), 4 length (4), 8 non-resident (1), 9 length of its name (1);
// resident: 16 length (4) and 20 offset (2) of the value; non-resident: 16 first virtual
// cluster (8), 32 offset of the run list (2), 48 real size (8).
#pragma once

#include "base/byte_view.h"

#include <algorithm>

namespace vorda {

inline constexpr std::uint32_t kStandardInformation = 0x10;
inline constexpr std::uint32_t kAttributeList = 0x20;
inline constexpr std::uint32_t kFileName = 0x30;
inline constexpr std::uint32_t kData = 0x80;

inline constexpr std::uint32_t kNoRecord = 0xFFFFFFFF;

// A record's number (low 48 bits) and the sequence number that it had when it was meant.
struct FileReference {
  std::uint64_t record = 0;
  std::uint16_t sequence = 0;

  static FileReference of(std::uint64_t value) {
    return {value & 0xFFFF'FFFF'FFFFULL, static_cast<std::uint16_t>(value >> 48U)};
  }
};

struct RecordHeader {
  bool file = false;  // has the signature
  bool inUse = false; // says so, whatever the signature
  bool directory = false;
  std::uint16_t sequence = 0;
  bool base = false; // not the extension of another record
  FileReference baseReference;
};

RecordHeader readHeader(ByteView record);

// Checks the last two bytes of every 512 against the update sequence and puts the saved
// ones in their place. False, with nothing changed, when one does not match or the
// sequence does not lie inside the record.
bool applyFixups(std::uint8_t* record, std::size_t size);

struct Attribute {
  std::uint32_t type = 0;
  ByteView bytes; // all of it

  bool resident() const { return bytes.u8(8) == 0; }
  bool named() const { return bytes.u8(9) != 0; }
  // Of a resident one; empty when it does not fit.
  ByteView value() const { return bytes.part(bytes.u16(20), bytes.u32(16)); }
  // Of a non-resident one.
  std::uint64_t firstCluster() const { return bytes.u64(16); }
  std::uint64_t realSize() const { return bytes.u64(48); }
  ByteView runs() const { return bytes.from(bytes.u16(32)); }
};

// Goes through the attributes of a record whose fixups were applied. Here, since it is the
// innermost loop of the reader.
class AttributeWalk {
public:
  explicit AttributeWalk(ByteView record)
      : record_(record.part(0, std::min<std::size_t>(record.u32(24), record.size()))),
        at_(record.u16(20)) {}

  bool next(Attribute& attribute) {
    if (!record_.holds(at_, 4)) return false;
    attribute.type = record_.u32(at_);
    if (attribute.type == kEnd) return false;
    const std::size_t length = record_.u32(at_ + 4);
    if (length < kSmallest || !record_.holds(at_, length)) {
      broken_ = attribute.type != 0; // empty space is an end like any other
      return false;
    }
    attribute.bytes = record_.part(at_, length);
    at_ += length;
    return true;
  }

  // Whether the end was an attribute that cannot be one.
  bool broken() const { return broken_; }

private:
  static constexpr std::uint32_t kEnd = 0xFFFFFFFF;
  static constexpr std::size_t kSmallest = 16;

  ByteView record_; // the bytes in use
  std::size_t at_;
  bool broken_ = false;
};

struct RecordValues {
  std::uint64_t size = 0;     // bytes of the unnamed stream, as far as this record tells
  std::uint64_t modified = 0; // milliseconds since 1970, 0 when not known
  ByteView name;              // UTF-16 units, two bytes each; empty when there is none
  std::uint8_t nameRank = 0;  // the lower the better
  std::uint32_t parent = kNoRecord;
  std::uint16_t parentSequence = 0;
  bool broken = false; // the attributes ended where they should not
};

// The rank of a name made for programs of the DOS age, which serves only when the file
// has no other.
inline constexpr std::uint8_t kDosNameRank = 4;

RecordValues readValues(ByteView record);

} // namespace vorda
