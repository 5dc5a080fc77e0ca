// Turbo: scans an NTFS volume by reading its master file table in one pass.
#pragma once

#include "scan/progress.h"
#include "scan/scan_result.h"
#include "scan/turbo/volume.h"

namespace vorda {

// Scans the drive in options.root ("C:" or "C:\") and publishes progress; meanwhile,
// progress.files counts records. A file with several names counts once; the file system's own
// files count too. A cancelled scan succeeds with the records read so far, marked as partial;
// what lies in a folder whose record was not read is then an orphan.
// False with a failure word, kMftDenied to kMftMemory, and a result to be discarded otherwise,
// unless the whole table was read.
bool turboScan(const OpenVolume& open, ScanProgress& progress, const ScanOptions& options,
               ScanResult& result);

} // namespace vorda
