// The requests about searches: files, duplicates, and the check before duplicates go.
//
// Each kind has one run at a time. A POST starts it, or with the one field cancel=1 stops the
// one that is going; any other method answers with its progress or its result. What is handed
// in must live until the run is over.
#pragma once

#include "http/message.h"
#include "scan/job_table.h"
#include "search/background_run.h"
#include "search/file_contents.h"

namespace vorda {

// 400 "needFilter" without an extension, a name or a size of 1 MiB.
HttpResponse startFinder(const HttpRequest& request, BackgroundRun& finder, const JobTable& jobs,
                         const ScanSteps& steps);
HttpResponse finderStatus(const BackgroundRun& finder);

// Among files of "min" bytes and more, 1 MiB when not said.
HttpResponse startDuplicates(const HttpRequest& request, BackgroundRun& duplicates,
                             const JobTable& jobs, const ScanSteps& steps, FileContents& contents);
HttpResponse duplicatesStatus(const BackgroundRun& duplicates);

// Reads the files of the fields p. 400 "niets opgegeven" without a path.
HttpResponse startVerification(const HttpRequest& request, BackgroundRun& verification,
                               FileContents& contents);
HttpResponse verificationStatus(const BackgroundRun& verification);

} // namespace vorda
