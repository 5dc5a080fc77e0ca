// The keys of bytes on disk in JSON: "a" on disk, "x" back if deleted, "cl" only in the cloud, and "xs" if
// there may be names that the scan did not meet.
#pragma once

#include "json/json_writer.h"
#include "scan/scan_result.h"

#include <optional>

namespace vorda {

struct DiskKeys {
  std::uint64_t disk = 0;
  std::optional<std::uint64_t> back;
  std::uint64_t cloud = 0; // left out if 0
};

void writeDiskKeys(JsonWriter& json, const DiskKeys& keys);
DiskKeys totalKeys(const FolderDisk& folder);
DiskKeys typeKeys(const TypeTotal& type);
DiskKeys fileKeys(const ScanResult& result, const FileEntry& file);

// Whether a scan has these figures at all.
inline bool knowsDisk(const ScanResult& result) { return !result.disk.empty(); }

// "xs", where it is needed.
void writeUnseenNames(JsonWriter& json, const ScanResult& result);

} // namespace vorda
