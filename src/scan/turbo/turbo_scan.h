// Turbo: reads a whole NTFS volume from its master file table, in one pass.
#pragma once

#include "scan/progress.h"
#include "scan/scan_result.h"
#include "scan/turbo/volume.h"

namespace vorda {

// Reads the volume of the drive that options.root names ("C:" or "C:\") into result and
// publishes the progress on the way. A file counts once, however many names it has; the
// file system's own files count too.
// False with a failure word, and a result to be thrown away, whenever not all of the table
// was read: kMftDenied to kMftMemory, or kCancelled.
bool readMft(const OpenVolume& open, ScanProgress& progress, const ScanOptions& options,
             ScanResult& result);

} // namespace vorda
