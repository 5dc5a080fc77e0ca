// Turbo: scans an NTFS volume by reading its master file table in one pass.
#pragma once

#include "scan/progress.h"
#include "scan/scan_result.h"
#include "scan/turbo/volume.h"

namespace vorda {

// Scans the drive in options.root ("C:" or "C:\") and publishes progress; meanwhile,
// progress.files counts records. A file with several names counts once; the file system's own
// files count too.
// False with a failure word, and a result to be discarded, unless the whole table was read: kMftDenied to kMftMemory, or kCancelled.
bool turboScan(const OpenVolume& open, ScanProgress& progress, const ScanOptions& options,
               ScanResult& result);

} // namespace vorda
