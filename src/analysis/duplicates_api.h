// The requests about duplicates across finished scans.
#pragma once

#include "analysis/background_run.h"
#include "analysis/file_contents.h"
#include "analysis/finder.h"
#include "base/http_message.h"
#include "scan/job_table.h"

namespace vorda {

// POST: starts a search among files of min bytes and more (1 MiB when not said), or with
// the one field cancel=1 stops the one that is going. jobs, steps and contents must live
// until the run is over.
HttpResponse startDuplicates(const HttpRequest& request, BackgroundRun& duplicates,
                             const JobTable& jobs, const ScanSteps& steps, FileContents& contents,
                             DeleteRefusal refusal);

// Any other method: progress or result.
HttpResponse duplicatesStatus(const BackgroundRun& duplicates);

// The progress of a run that reads contents.
std::string readingProgress(const RunCounters& counters);

} // namespace vorda
