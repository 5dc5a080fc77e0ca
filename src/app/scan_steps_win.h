// The steps of a scan on this machine.
#pragma once

#include "scan/folder_reader.h"
#include "scan/job.h"

namespace vorda {

// folders must outlive the steps.
ScanSteps makeScanSteps(FolderSource& folders);

} // namespace vorda
