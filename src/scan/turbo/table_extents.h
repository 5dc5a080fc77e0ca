// Locates the master file table on its volume from the table's first record.
//
// The table consists of one or more extents. Its run list may continue in further records of
// the table, which must lie in the extents found so far.
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

// Reads part of a stream. offset and size: bytes, multiples of the sector size. False if the
// extents do not cover the part or reading fails.
bool readStream(Volume& volume, const MftLayout& layout, const std::vector<Extent>& extents,
                std::uint64_t offset, std::uint8_t* out, std::size_t size);

// Empty on success, else kMftUnreadable (first record unreadable), kMftCorrupt (damaged record or
// list, or extents smaller than the table), kMftNoData (no table), kMftRecordCount (smaller than a
// record) or kMftMemory.
std::string_view findTable(Volume& volume, const MftLayout& layout, MftExtents& table);

} // namespace vorda
