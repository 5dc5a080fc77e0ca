#include "scan/turbo/boot_sector.h"

#include "scan/words.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace vorda {

namespace {

constexpr std::uint32_t kSmallestSector = 256;
constexpr std::uint32_t kLargestSector = 4096;
constexpr std::uint64_t kLargestCluster = 2'097'152;
constexpr std::uint64_t kSmallestRecord = 512;
constexpr std::uint64_t kLargestRecord = 65'536;

// 2^(256 - v), or 0 if that exceeds 31 bits.
std::uint64_t negativePower(std::uint8_t v) {
  const int exponent = 256 - v;
  return exponent < 32 ? std::uint64_t{1} << exponent : 0;
}

} // namespace

std::string_view decodeBoot(ByteView sector, MftLayout& layout) {
  if (!sector.holds(0, 512) || std::memcmp(sector.data() + 3, "NTFS    ", 8) != 0) {
    return kMftNotNtfs;
  }
  const std::uint32_t sectorBytes = sector.u16(11);
  if (!std::has_single_bit(sectorBytes) || sectorBytes < kSmallestSector ||
      sectorBytes > kLargestSector) {
    return kMftLayout;
  }
  const std::uint8_t perCluster = sector.u8(13);
  const std::uint64_t sectors = perCluster > 128 ? negativePower(perCluster) : perCluster;
  const std::uint64_t clusterBytes = sectors * sectorBytes;
  if (clusterBytes == 0 || clusterBytes > kLargestCluster) return kMftLayout;
  const std::uint8_t perRecord = sector.u8(64);
  const std::uint64_t recordBytes =
      perRecord >= 128 ? negativePower(perRecord) : perRecord * clusterBytes;
  // Update sequences protect strides of 512 bytes.
  if (recordBytes < kSmallestRecord || recordBytes > kLargestRecord || recordBytes % 512 != 0) {
    return kMftLayout;
  }
  layout.sectorBytes = sectorBytes;
  layout.clusterBytes = static_cast<std::uint32_t>(clusterBytes);
  layout.recordBytes = static_cast<std::uint32_t>(recordBytes);
  constexpr auto kLargestOffset =
      static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  layout.clusters = kLargestOffset / clusterBytes;
  const std::uint64_t volumeSectors = sector.u64(40);
  // Without a volume size, only the addressable range limits the clusters.
  if (volumeSectors != 0) layout.clusters = std::min(layout.clusters, volumeSectors / sectors);
  layout.tableCluster = sector.u64(48);
  return layout.tableCluster < layout.clusters ? std::string_view() : kMftLayout;
}

} // namespace vorda
