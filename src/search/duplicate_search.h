// The search for duplicates across finished scans, in the background.
#pragma once

#include "scan/job_table.h"
#include "search/background_run.h"
#include "search/file_contents.h"
#include "search/scan_search.h"

#include <string>

namespace vorda {

// The work of one search. jobs, steps and contents must live until the run is over.
RunWork duplicateWork(SearchRequest request, const JobTable& jobs, const ScanSteps& steps,
                      FileContents& contents);

// The progress of a run that reads contents, as JSON.
std::string readingProgress(const RunCounters& counters);

} // namespace vorda
