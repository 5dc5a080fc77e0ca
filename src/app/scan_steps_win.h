// The steps of a scan, made of what this machine offers.
#pragma once

#include "scan/folder_reader.h"
#include "scan/job.h"

namespace vorda {

// folders must live as long as the steps are used.
ScanSteps makeScanSteps(FolderSource& folders);

} // namespace vorda
