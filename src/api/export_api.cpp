#include "api/export_api.h"

#include "api/request_fields.h"
#include "api/words.h"
#include "base/time.h"
#include "report/csv_report.h"

namespace vorda {

HttpResponse exportCsv(const HttpRequest& request, const JobTable& jobs) {
  const std::shared_ptr<Job> job = finishedJob(jobs, request);
  if (!job) return errorAnswer(400, words::kNoPath);
  if (const std::string error = job->progress.texts().error; !error.empty()) {
    return errorAnswer(400, error);
  }
  const std::optional<std::string> what = request.queryValue("what");
  const auto kind = what ? csvKindOf(*what) : std::nullopt;
  const std::lock_guard lock(job->resultMutex);
  return answer(200, buildCsvReport(*job, kind.value_or(CsvKind::files), localNow(), nowUnixMs()),
                "text/csv; charset=utf-8");
}

} // namespace vorda
