// The endpoints that start, list, cancel and drop scan jobs.
#pragma once

#include "http/message.h"
#include "scan/job_table.h"

#include <functional>

namespace vorda {

// Creates a job from the form fields "path", "kind", "label" and (for ssh) "password" and runs
// it on a new thread. steps must outlive every job.
HttpResponse startScan(HttpRequest& request, JobTable& jobs, const ScanSteps& steps);

HttpResponse listJobs(const JobTable& jobs);
HttpResponse jobResult(const HttpRequest& request, const JobTable& jobs);
HttpResponse cancelJob(const HttpRequest& request, const JobTable& jobs);

// Calls forgotten with the id of the job after removing it from the table.
HttpResponse forgetJob(const HttpRequest& request, JobTable& jobs,
                       const std::function<void(int)>& forgotten);

} // namespace vorda
