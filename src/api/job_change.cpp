#include "api/job_change.h"

#include "base/time.h"
#include "report/result_document.h"

namespace vorda {

void finishChange(Job& job, TreeUpdate& update) {
  update.finish();
  job.progress.files = job.result.fileCount;
  job.progress.bytes = job.result.byteCount;
  job.progress.dirs = job.result.folderCount;
  buildResultDocument(job, kDocumentOptions, nowUnixMs());
}

} // namespace vorda
