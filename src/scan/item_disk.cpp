#include "scan/item_disk.h"

#include <algorithm>

namespace vorda {

ItemDisk diskOf(const FolderItem& item, std::uint32_t clusterBytes) {
  ItemDisk figures;
  if (item.disk == kUnknownDisk) {
    const std::uint64_t step = std::max(clusterBytes, 1U);
    figures.disk = item.size / step * step + (item.size % step != 0 ? step : 0);
  } else if (item.disk >= clusterBytes) {
    figures.disk = item.disk;
  } // less than a cluster: the contents are in the file's own record
  if (isCloudFile(item.attributes, item.tag)) {
    figures.cloud = item.size - std::min(item.size, figures.disk);
  }
  return figures;
}

bool isDataReparse(const FolderItem& item) {
  return item.reparsePoint && item.tag != kNoReparseTag && !isNameSurrogate(item.tag);
}

} // namespace vorda
