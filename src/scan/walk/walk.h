// The folder walk: lists a tree with several threads. Works on any drive, folder, share or WSL
// distribution.
#pragma once

#include "scan/folder_reader.h"
#include "scan/progress.h"
#include "scan/scan_result.h"

#include <string>
#include <string_view>

namespace vorda {

// Scans everything below options.root and publishes progress. Reparse points are neither
// counted nor followed. A folder that cannot be listed stays in the table, empty, and counts in
// unreadableFolders. A cancelled walk succeeds with the part read so far, marked as partial.
// False with the failure word kNoSuchDir if the root is not a folder or cannot be listed.
// An exception in one worker ends them all and is passed on.
// workers: number of threads; 0: workerCount decides.
bool walk(FolderSource& source, ScanProgress& progress, const ScanOptions& options,
          ScanResult& result, unsigned workers = 0);

// The number of threads for a root. processors: logical processors, 0 if unknown. Shares get
// more, since their threads mostly wait for the network.
unsigned workerCount(unsigned processors, std::wstring_view root);

} // namespace vorda
