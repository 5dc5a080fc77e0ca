// Publishes a change of a finished scan's data.
#pragma once

#include "scan/job_table.h"
#include "tree/tree_update.h"

namespace vorda {

// Finishes the update, then refreshes the job's counters and rebuilds its result document.
// The caller holds job.resultMutex and calls this within orFail.
void finishChange(Job& job, TreeUpdate& update);

// Changes a finished job. If that throws, the job fails: half changed, it shows what is not there.
template <typename Change> void orFail(Job& job, Change change) {
  try {
    change();
  } catch (...) {
    failJob(job);
  }
}

} // namespace vorda
