// The file finder: files of one or more finished scans by extension, name pattern and
// smallest size, searched anew on the disk, in the background.
#pragma once

#include "analysis/background_run.h"
#include "base/http_message.h"
#include "scan/job_table.h"

#include <string>
#include <string_view>

namespace vorda {

// Hits in a result; of more the best by the chosen order.
inline constexpr std::size_t kFinderHits = 20'000;

// Why a path must not be deleted, or an empty text.
using DeleteRefusal = std::string (*)(std::wstring_view path);

// POST: starts a search, or with the one field cancel=1 stops the one that is going. 400
// "needFilter" without an extension, a name or a size of 1 MiB. jobs and steps must live
// until the run is over.
HttpResponse startFinder(const HttpRequest& request, BackgroundRun& finder, const JobTable& jobs,
                         const ScanSteps& steps, DeleteRefusal refusal);

// Any other method: progress or result.
HttpResponse finderStatus(const BackgroundRun& finder);

} // namespace vorda
