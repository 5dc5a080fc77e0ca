// What several handlers read from a request: its form, its paths and the job it names.
#pragma once

#include "http/form_fields.h"
#include "http/message.h"
#include "scan/job_table.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// The form fields, or null if the length of the body differs from its Content-Length. A
// truncated body could have lost the end of a path, or the field that asks for a dry run. Takes
// the body.
std::unique_ptr<FormFields> completeForm(HttpRequest& request);

// The values of all fields with a name, in order.
std::vector<std::string> valuesOf(const FormFields& fields, std::string_view name);

// The values of all fields "p", in order.
std::vector<std::wstring> requestedPaths(const FormFields& fields);

// The job that the query parameter "id" names, or null.
std::shared_ptr<Job> requestedJob(const JobTable& jobs, const HttpRequest& request);

// The same, but null until the job has ended.
std::shared_ptr<Job> finishedJob(const JobTable& jobs, const HttpRequest& request);

// The job with this number, or that the field "job" names, if it has ended without an error; else null.
std::shared_ptr<Job> usableJob(const JobTable& jobs, std::string_view number);
std::shared_ptr<Job> usableJob(const JobTable& jobs, const FormFields& fields);
bool isUsable(const Job& job);

} // namespace vorda
