#include "scan/listing_buffer.h"

#include "scan/reparse_tag.h"

namespace vorda {

bool ListingWalk::next(ListingEntry& entry) {
  if (!more_) return false;
  const bool identities = kind_ == ListingKind::withIdentities;
  const ByteView bytes = buffer_.from(at_);
  const std::size_t nameAt = identities ? 104 : 68;
  const std::size_t nameBytes = bytes.u32(60);
  if (!bytes.holds(nameAt, nameBytes) || nameBytes % 2 != 0 || at_ % 2 != 0) {
    more_ = false;
    broken_ = true;
    return false;
  }
  entry.lastWrite = bytes.u64(24);
  entry.size = bytes.u64(40);
  entry.disk = bytes.u64(48);
  entry.attributes = bytes.u32(56);
  entry.tag = (entry.attributes & kAttributeReparse) != 0 ? bytes.u32(64) : kNoReparseTag;
  entry.id = identities ? bytes.u64(96) : 0;
  if (entry.id == ~std::uint64_t{0}) entry.id = 0; // the file system has no identity of 64 bits
  entry.nameAt = at_ + nameAt;
  entry.nameUnits = nameBytes / 2;
  const std::size_t step = bytes.u32(0);
  more_ = step != 0;
  at_ += step;
  return true;
}

} // namespace vorda
