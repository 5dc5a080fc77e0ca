// What the file operations share about requests and jobs.
#pragma once

#include "http/form_fields.h"
#include "http/message.h"
#include "scan/job_table.h"
#include "tree/tree_update.h"

#include <memory>

namespace vorda {

// The fields of a request, or nothing when its body is not as long as announced. A body
// that was cut off may have lost the end of a path, or the field that asks for a dry run.
std::unique_ptr<FormFields> wholeForm(const HttpRequest& request);

// The job of the field "job", once it has ended without an error; else null.
std::shared_ptr<Job> usableJob(const JobTable& jobs, const FormFields& fields);
bool isUsable(const Job& job);

// Ends the update, brings the job's published counters in line and builds its result
// document anew. The caller holds job.resultMutex.
void finishChange(Job& job, TreeUpdate& update);

} // namespace vorda
