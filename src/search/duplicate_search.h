// The search for duplicate files across finished scans.
#pragma once

#include "search/file_contents.h"
#include "search/scan_search.h"

#include <string>

namespace vorda {

// The work of one search. jobs, steps and contents must outlive the run.
RunWork duplicateWork(SearchRequest request, const JobTable& jobs, const ScanSteps& steps,
                      FileContents& contents);

// The progress of a run that reads file contents, as JSON.
std::string readingProgress(const RunCounters& counters);

} // namespace vorda
