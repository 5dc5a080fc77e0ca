// The requests about scan jobs.
#pragma once

#include "http/message.h"
#include "scan/job_table.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vorda {

// The job with this decimal number, or null.
std::shared_ptr<Job> jobOfNumber(const JobTable& jobs, std::string_view number);

// The job that the query parameter "id" names.
std::shared_ptr<Job> requestedJob(const JobTable& jobs, const HttpRequest& request);

// The same, but only once it is done.
std::shared_ptr<Job> finishedJob(const JobTable& jobs, const HttpRequest& request);

// Makes a job of the form fields path, kind, label and, for kSshKind, password, and
// starts it on a thread of its own. steps must live as long as any job.
HttpResponse startScan(const HttpRequest& request, JobTable& jobs, const ScanSteps& steps);

HttpResponse listJobs(const JobTable& jobs);
HttpResponse jobResult(const HttpRequest& request, const JobTable& jobs);
HttpResponse cancelJob(const HttpRequest& request, const JobTable& jobs);
// forgotten: told the id of a job that has just left the table.
HttpResponse forgetJob(const HttpRequest& request, JobTable& jobs,
                       const std::function<void(int)>& forgotten);

} // namespace vorda
