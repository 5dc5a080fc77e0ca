// The file finder: files of one or more finished scans by extension, name pattern and
// smallest size, read again from the disk, in the background.
#pragma once

#include "scan/job_table.h"
#include "search/background_run.h"
#include "search/best_hits.h"
#include "search/scan_search.h"

#include <string>

namespace vorda {

// Hits in a result; of more the best by the chosen order.
inline constexpr std::size_t kFinderHits = 20'000;

struct FinderRequest {
  SearchRequest search;
  HitOrder order = HitOrder::size;
};

// The work of one search. jobs and steps must live until the run is over.
RunWork finderWork(FinderRequest request, const JobTable& jobs, const ScanSteps& steps);

// The progress of such a run as JSON.
std::string finderProgress(const RunCounters& counters);

} // namespace vorda
