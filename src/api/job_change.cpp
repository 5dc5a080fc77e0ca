#include "api/job_change.h"

#include "base/time.h"
#include "report/result_document.h"
#include "scan/final_totals.h"

#include <new>

namespace vorda {

void finishChange(Job& job, TreeUpdate& update) {
  job.document = nullptr; // it is no longer true
  update.finish();
  publishTotals(job.progress, job.result);
  try {
    buildResultDocument(job, kDocumentOptions, nowUnixMs());
  } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): built when it is asked for
  }
}

} // namespace vorda
