// Publishes a change of a finished scan's data.
#pragma once

#include "scan/job_table.h"
#include "tree/tree_update.h"

namespace vorda {

// Finishes the update, then refreshes the job's counters and rebuilds its result document.
// The caller holds job.resultMutex.
void finishChange(Job& job, TreeUpdate& update);

} // namespace vorda
