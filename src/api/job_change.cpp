#include "api/job_change.h"

#include "api/jobs_api.h"
#include "base/time.h"
#include "report/result_document.h"

namespace vorda {

std::unique_ptr<FormFields> wholeForm(const HttpRequest& request) {
  const std::string* announced = request.header("content-length");
  if (announced != nullptr && *announced != std::to_string(request.body.size())) return nullptr;
  return std::make_unique<FormFields>(request.body);
}

bool isUsable(const Job& job) { return job.resultReady && job.progress.texts().error.empty(); }

std::shared_ptr<Job> usableJob(const JobTable& jobs, const FormFields& fields) {
  std::shared_ptr<Job> job = jobOfNumber(jobs, fields.get("job"));
  return job && isUsable(*job) ? job : nullptr;
}

void finishChange(Job& job, TreeUpdate& update) {
  update.finish();
  job.progress.files = job.result.fileCount;
  job.progress.bytes = job.result.byteCount;
  job.progress.dirs = job.result.folderCount;
  buildResultDocument(job, kDocumentOptions, nowUnixMs());
}

} // namespace vorda
