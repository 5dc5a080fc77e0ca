// From the kept records to the result of a scan.
#pragma once

#include "scan/scan_result.h"
#include "scan/turbo/record_table.h"

namespace vorda {

inline constexpr std::uint32_t kRootRecord = 5;       // the root folder of the volume
inline constexpr std::uint32_t kFirstUserRecord = 16; // those before are the file system's own
inline constexpr std::uint32_t kMostSteps = 4096;     // up to the root

// Folder 0 is the root, named by options' root path as set in result.rootPath; the others
// follow in the order of their records. What does not hang on the root (its parent is not
// there, is another one by now, or is its own descendant, or is too deep) goes beneath one
// extra folder of the root, "$Orphans", with all that lies in it. Nameless records of the
// file system itself count in the root. Uses up the table's figures of folders.
// False when the root folder is not among the records.
bool buildResult(MftTable& table, const ScanOptions& options, ScanResult& result);

} // namespace vorda
