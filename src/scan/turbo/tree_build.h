// Builds a scan result from the records of the master file table.
#pragma once

#include "scan/scan_result.h"
#include "scan/turbo/record_table.h"

namespace vorda {

inline constexpr std::uint32_t kRootRecord = 5;       // the root folder of the volume
inline constexpr std::uint32_t kExtendRecord = 11;    // the folder of the file system's later files
inline constexpr std::uint32_t kFirstUserRecord = 16; // earlier ones belong to the file system
inline constexpr std::uint32_t kMostSteps = 4096;     // from a folder to the root

// Folder 0 is the root, named result.rootPath; the others follow in record order. Folders and
// files without a path to the root (parent missing or replaced, cycle, too deep) are placed in
// an extra folder of the root, "$Orphans", with their contents. Nameless records of the file
// system count in the root. Overwrites the folder entries of the table.
// False if the table has no root folder.
bool buildResult(RecordTable& table, const ScanOptions& options, ScanResult& result);

} // namespace vorda
