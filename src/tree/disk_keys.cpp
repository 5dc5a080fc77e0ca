#include "tree/disk_keys.h"

namespace vorda {

void writeDiskKeys(JsonWriter& json, const DiskKeys& keys) {
  json.number("a", keys.disk);
  if (keys.back) json.number("x", *keys.back);
  if (keys.cloud != 0) json.number("cl", keys.cloud);
}

DiskKeys totalKeys(const FolderDisk& folder) {
  return {folder.totalDisk, folder.totalBack, folder.totalCloud};
}

DiskKeys typeKeys(const TypeTotal& type) { return {type.disk, type.back, type.cloud}; }

DiskKeys fileKeys(const ScanResult& result, const FileEntry& file) {
  return {file.disk, backOf(result, file), file.cloud};
}

void writeUnseenNames(JsonWriter& json, const ScanResult& result) {
  if (knowsDisk(result) && !result.links.complete) json.number("xs", 1);
}

} // namespace vorda
