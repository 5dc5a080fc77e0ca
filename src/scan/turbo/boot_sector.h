// The boot sector of an NTFS volume: where the master file table begins, and the sizes
// that everything else is counted in.
#pragma once

#include "base/byte_view.h"

#include <string_view>

namespace vorda {

inline constexpr std::size_t kBootBytes = 4096; // what is read of it: the largest sector

struct MftLayout {
  std::uint32_t sectorBytes = 0;  // a power of two, 256 to 4,096
  std::uint32_t clusterBytes = 0; // at most 2 MiB
  std::uint32_t recordBytes = 0;  // 512 to 65,536, a multiple of 512
  std::uint64_t clusters = 0;     // of the whole volume; every byte of them has a 63-bit offset
  std::uint64_t tableCluster = 0; // below clusters; record 0 begins there
};

// Empty when the layout was read, else kMftNotNtfs or kMftLayout.
//
// Offsets: 3 name (8 bytes), 11 bytes per sector (2), 13 sectors per cluster (1, above 128
// a negative power of two), 40 sectors of the volume (8), 48 first cluster of the table
// (8), 64 clusters per record (1, signed, a negative one is a negative power of two).
std::string_view decodeBoot(ByteView sector, MftLayout& layout);

} // namespace vorda
