// What a listing says of a file's bytes on disk, made into figures.
#pragma once

#include "scan/folder_reader.h"

namespace vorda {

struct ItemDisk {
  std::uint64_t disk = 0;
  std::uint64_t cloud = 0;
};

// clusterBytes: of the volume; 0 if unknown.
ItemDisk diskOf(const FolderItem& item, std::uint32_t clusterBytes);

// A reparse point that is no link: a file or folder like others, which only these figures count.
bool isDataReparse(const FolderItem& item);

} // namespace vorda
