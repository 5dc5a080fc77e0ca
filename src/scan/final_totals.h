// The last step of every scan method, and of every change to a finished scan.
#pragma once

#include "scan/progress.h"
#include "scan/scan_result.h"

#include <chrono>

namespace vorda {

using ScanClock = std::chrono::steady_clock;

// Publishes a result's counters and its duration.
void publishTotals(ScanProgress& progress, const ScanResult& result);

// Sets the result's duration to the time since start, in seconds with millisecond precision,
// and publishes its totals and whether it is a part.
void finishScan(ScanProgress& progress, ScanResult& result, ScanClock::time_point start);

} // namespace vorda
