// The background searches: files, duplicates, and verifying duplicates before deletion.
//
// There is one run of each kind at a time. A POST starts it or, with the single field
// cancel=1, cancels the current one; any other method returns its progress or result. Every
// argument passed by reference must outlive the run, except the request.
#pragma once

#include "http/message.h"
#include "scan/job_table.h"
#include "search/background_run.h"
#include "search/file_contents.h"

namespace vorda {

// Answers 400 kNeedFilter unless given an extension, a name, a bound on the time or a minimum of
// 1 MiB.
HttpResponse startFinder(HttpRequest& request, BackgroundRun& finder, const JobTable& jobs,
                         const ScanSteps& steps);
HttpResponse finderStatus(const BackgroundRun& finder);

// Compares files of at least "min" bytes, 1 MiB by default.
HttpResponse startDuplicates(HttpRequest& request, BackgroundRun& duplicates, const JobTable& jobs,
                             const ScanSteps& steps, FileContents& contents);
HttpResponse duplicatesStatus(const BackgroundRun& duplicates);

// Reads the files named by the fields "p" again; 400 kNothingGiven without one.
HttpResponse startVerification(HttpRequest& request, BackgroundRun& verification,
                               FileContents& contents);
HttpResponse verificationStatus(const BackgroundRun& verification);

} // namespace vorda
