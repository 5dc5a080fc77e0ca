// Decodes what Windows fills a buffer with when it lists a folder through its handle.
//
// Entry: 0 offset of the next one (4; 0: the last), 24 last write (8), 40 size (8), 48 allocated
// size (8), 56 attributes (4), 60 length of the name in bytes (4), 64 reparse tag, of a reparse point (4);
// with identities 96 file ID (8) and 104 the name, else 68 the name.
#pragma once

#include "base/byte_view.h"

namespace vorda {

enum class ListingKind {
  withIdentities, // FileIdBothDirectoryInfo
  plain,          // FileFullDirectoryInfo
};

struct ListingEntry {
  std::uint64_t lastWrite = 0; // FILETIME
  std::uint64_t size = 0;      // bytes
  std::uint64_t disk = 0;      // bytes
  std::uint64_t id = 0;        // 0: unknown
  std::uint32_t attributes = 0;
  std::uint32_t tag = 0;  // 0: no reparse point
  std::size_t nameAt = 0; // in the buffer, even
  std::size_t nameUnits = 0;
};

// Iterates over the entries in a buffer.
class ListingWalk {
public:
  ListingWalk() = default;
  ListingWalk(ByteView buffer, ListingKind kind) : buffer_(buffer), kind_(kind), more_(true) {}

  // False at the end, and at an entry that does not fit into the buffer: see broken().
  bool next(ListingEntry& entry);
  bool broken() const { return broken_; }

private:
  ByteView buffer_;
  ListingKind kind_ = ListingKind::plain;
  std::size_t at_ = 0;
  bool more_ = false;
  bool broken_ = false;
};

} // namespace vorda
