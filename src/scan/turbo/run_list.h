// Run lists (NTFS mapping pairs): the location of a stream on the volume.
#pragma once

#include "base/byte_view.h"

#include <vector>

namespace vorda {

struct Extent {
  std::uint64_t cluster = 0; // first cluster on the volume
  std::uint64_t count = 0;   // clusters, at least 1
};

// Appends the runs of a list in stream order. False if the list is malformed or truncated, has a
// sparse run, or a run extends past the volume's last cluster. clusters: of the volume.
//
// Per run: one byte with the sizes of length (low nibble) and offset (high nibble) in bytes, then
// the length, then the signed offset relative to the previous run. A byte 0 ends the list.
bool decodeRuns(ByteView list, std::uint64_t clusters, std::vector<Extent>& extents);

// The clusters that a list allocates, without its holes. False, and a number that means nothing, if the
// list is malformed or truncated or a run extends past the volume's last cluster. A hole is a run
// without an offset; the stream reads as zeroes there.
bool countClusters(ByteView list, std::uint64_t clusters, std::uint64_t& count);

} // namespace vorda
