#include "scan/item_disk.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr std::uint64_t kLargestRecord = 4096;

// Whether an allocation is only room in the file's own record: less than a cluster, or no whole clusters.
// Larger ones are believed, since servers count in other units than clusters.
bool isResident(std::uint64_t allocated, std::uint32_t clusterBytes) {
  return allocated < clusterBytes ||
         (clusterBytes != 0 && allocated % clusterBytes != 0 && allocated < kLargestRecord);
}

} // namespace

ItemDisk diskOf(const FolderItem& item, std::uint32_t clusterBytes) {
  ItemDisk figures;
  if (item.disk == kUnknownDisk) {
    const std::uint64_t step = std::max(clusterBytes, 1U);
    figures.disk = item.size / step * step + (item.size % step != 0 ? step : 0);
  } else if (!isResident(item.disk, clusterBytes)) {
    figures.disk = item.disk;
  }
  if (isCloudFile(item.attributes, item.tag)) {
    figures.cloud = item.size - std::min(item.size, figures.disk);
  }
  return figures;
}

bool isDataReparse(const FolderItem& item) {
  return item.reparsePoint && item.tag != kNoReparseTag && !isNameSurrogate(item.tag);
}

} // namespace vorda
