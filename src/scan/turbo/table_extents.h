// Where the master file table lies on its volume, as its own first record tells.
//
// The table is a stream of clusters in one or more extents. Its list of extents may itself
// be continued in further records of the table, which lie in the extents known by then.
#pragma once

#include "scan/turbo/boot_sector.h"
#include "scan/turbo/run_list.h"
#include "scan/turbo/volume.h"

#include <string_view>
#include <vector>

namespace vorda {

struct MftExtents {
  std::uint64_t bytes = 0; // of the table
  std::vector<Extent> extents;
};

// Reads a part of a stream from its extents, whole clusters or parts of them: offset and
// size are multiples of the sector size. False when it is not all there or not all read.
bool readStream(Volume& volume, const MftLayout& layout, const std::vector<Extent>& extents,
                std::uint64_t offset, std::uint8_t* out, std::size_t size);

// Empty when all of the table was found, else kMftUnreadable (the first record cannot be
// read), kMftCorrupt (a record or list is damaged, or the extents are fewer than the
// table's size needs), kMftNoData (there is no table) or kMftMemory.
std::string_view findTable(Volume& volume, const MftLayout& layout, MftExtents& table);

} // namespace vorda
