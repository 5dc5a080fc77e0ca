// Listings of folders: names lie inside the buffer, and every listing ends.
#include "scan/listing_buffer.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const vorda::ByteView input(data, size);
  const auto kind =
      input.u8(0) % 2 == 0 ? vorda::ListingKind::withIdentities : vorda::ListingKind::plain;
  const vorda::ByteView buffer = input.from(1);
  vorda::ListingWalk walk(buffer, kind);
  vorda::ListingEntry entry;
  std::size_t entries = 0;
  while (walk.next(entry)) {
    if (++entries > buffer.size() || entry.nameAt % 2 != 0 ||
        !buffer.holds(entry.nameAt, 2 * entry.nameUnits)) {
      std::abort();
    }
  }
  return 0;
}
