// What scans leave in the diagnostic log.
#pragma once

#include "base/diagnostic_log.h"
#include "scan/job.h"

namespace vorda {

// The steps with lines in the log about each scan. The log must outlive them.
ScanSteps loggedSteps(ScanSteps steps, DiagnosticLog& log);

} // namespace vorda
