// Boot sectors: an accepted layout is within the documented ranges.
#include "scan/turbo/boot_sector.h"

#include <bit>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vorda::MftLayout layout;
  if (!vorda::decodeBoot({data, size}, layout).empty()) return 0;
  const bool sizes = std::has_single_bit(layout.sectorBytes) && layout.sectorBytes <= 4096 &&
                     layout.clusterBytes % layout.sectorBytes == 0 &&
                     layout.clusterBytes <= 2'097'152 && layout.recordBytes >= 512 &&
                     layout.recordBytes <= 65'536 && layout.recordBytes % 512 == 0;
  // Turbo relies on this when it reads single records.
  const bool fits =
      layout.recordBytes % layout.sectorBytes == 0 || layout.sectorBytes % layout.recordBytes == 0;
  const bool offsets = layout.tableCluster < layout.clusters &&
                       layout.clusters <= (~std::uint64_t{0} >> 1U) / layout.clusterBytes;
  if (!sizes || !fits || !offsets) std::abort();
  return 0;
}
