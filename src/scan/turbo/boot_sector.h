// The boot sector of an NTFS volume: the location of the master file table and the volume's
// units of size.
#pragma once

#include "base/byte_view.h"

#include <string_view>

namespace vorda {

inline constexpr std::size_t kBootBytes = 4096; // bytes to read: the largest sector size

struct MftLayout {
  std::uint32_t sectorBytes = 0;  // a power of two, 256 to 4,096
  std::uint32_t clusterBytes = 0; // at most 2 MiB
  std::uint32_t recordBytes = 0;  // 512 to 65,536, a multiple of 512
  std::uint64_t clusters = 0;     // of the volume; byte offsets fit in 63 bits
  std::uint64_t tableCluster = 0; // first cluster of record 0; below clusters
};

// Empty on success, else kMftNotNtfs or kMftLayout.
//
// NTFS boot sector: 3 file system name (8 bytes), 11 bytes per sector (2), 13 sectors per cluster (1; v
// above 128 means 2^(256 - v)), 40 sectors of the volume (8), 48 first cluster of the table
// (8), 64 clusters per record (1; v from 128 on means
// 2^(256 - v) bytes).
std::string_view decodeBoot(ByteView sector, MftLayout& layout);

} // namespace vorda
