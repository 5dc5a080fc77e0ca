// The file finder: finds files in one or more finished scans by extension, name pattern and
// minimum size.
#pragma once

#include "search/best_hits.h"
#include "search/scan_search.h"

#include <string>

namespace vorda {

// The most hits in a result. Of more hits, the first in the chosen order are kept.
inline constexpr std::size_t kFinderHits = 20'000;

struct FinderRequest {
  SearchRequest search;
  HitOrder order = HitOrder::size;
  bool more = false; // with bytes on disk
};

// The work of one search. jobs and steps must outlive the run.
RunWork finderWork(FinderRequest request, const JobTable& jobs, const ScanSteps& steps);

// The progress of a search as JSON.
std::string finderProgress(const RunCounters& counters);

} // namespace vorda
