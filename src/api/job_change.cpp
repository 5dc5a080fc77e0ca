#include "api/job_change.h"

#include "base/time.h"
#include "report/result_document.h"
#include "scan/final_totals.h"

namespace vorda {

void finishChange(Job& job, TreeUpdate& update) {
  update.finish();
  publishTotals(job.progress, job.result);
  buildResultDocument(job, kDocumentOptions, nowUnixMs());
}

} // namespace vorda
