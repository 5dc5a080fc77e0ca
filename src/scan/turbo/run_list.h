// Run lists: where on the volume a stream lies.
#pragma once

#include "base/byte_view.h"

#include <vector>

namespace vorda {

struct Extent {
  std::uint64_t cluster = 0; // the first one on the volume
  std::uint64_t count = 0;   // clusters, at least 1
};

// Appends the runs of one list, whose first offset counts from cluster 0, in the order in
// which the stream uses them. Per run: a byte with the number of bytes of the length (low
// half) and of the offset (high half), then both, the offset signed and counted from the
// run before; a byte 0 ends the list.
// False when the list is broken or cut off, has a sparse run, or leaves a volume of so
// many clusters.
bool decodeRuns(ByteView list, std::uint64_t clusters, std::vector<Extent>& extents);

} // namespace vorda
