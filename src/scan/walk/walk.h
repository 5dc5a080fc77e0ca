// The folder walk: reads a tree with several workers at once. Works on any drive,
// folder, share or WSL distribution.
#pragma once

#include "scan/folder_reader.h"
#include "scan/progress.h"
#include "scan/scan_result.h"

#include <string>
#include <string_view>

namespace vorda {

// Reads everything beneath options.root into result and publishes the progress on the
// way. Reparse points are neither counted nor followed; a folder that cannot be listed
// stays in the table, empty, and counts in unreadableFolders. A cancel ends the walk
// early and successfully, with what was read by then.
// False with the failure word kNoSuchDir when the root is no folder or cannot be seen.
// workers: how many threads read; 0 leaves it to workerCount.
bool walk(FolderSource& source, ScanProgress& progress, const ScanOptions& options,
          ScanResult& result, unsigned workers = 0);

// How many workers read a root on a machine with so many logical processors (0: not
// known). A share waits on the network more than on the processor and gets more.
unsigned workerCount(unsigned processors, std::wstring_view root);

} // namespace vorda
