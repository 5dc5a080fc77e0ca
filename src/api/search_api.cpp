#include "api/search_api.h"

#include "api/request_fields.h"
#include "api/search_form.h"
#include "api/words.h"
#include "search/duplicate_search.h"
#include "search/finder.h"
#include "search/verification.h"

#include <utility>

namespace vorda {

namespace {

constexpr std::uint64_t kSmallestMinAlone = 1'048'576;     // bytes, without another filter
constexpr std::uint64_t kDuplicatesDefaultMin = 1'048'576; // bytes

HttpResponse cancel(BackgroundRun& run) {
  run.cancel();
  return okAnswer();
}

HttpResponse start(BackgroundRun& run, RunWork work) {
  // First: a search that runs has to be answered.
  HttpResponse started = answer(200, "{\"started\":true,\"running\":true}");
  HttpResponse busy = answer(200, "{\"started\":false,\"running\":true}");
  return run.start(std::move(work)) ? started : busy;
}

HttpResponse status(const BackgroundRun& run, std::string (*progress)(const RunCounters&)) {
  RunStatus status = run.status();
  if (status.document) return {200, kJsonType, std::move(status.document)};
  return answer(200, status.counters ? progress(*status.counters) : "{\"running\":false}");
}

} // namespace

HttpResponse startFinder(HttpRequest& request, BackgroundRun& finder, const JobTable& jobs,
                         const ScanSteps& steps) {
  const FormFields fields(std::move(request.body));
  if (isCancel(fields)) return cancel(finder);
  FinderRequest wanted = parseFinderRequest(fields);
  if (wanted.search.extensions.empty() && wanted.search.namePatterns.empty() &&
      wanted.search.min < kSmallestMinAlone && !wanted.search.bounds.byTime()) {
    return errorAnswer(400, words::kNeedFilter);
  }
  return start(finder, finderWork(std::move(wanted), jobs, steps));
}

HttpResponse finderStatus(const BackgroundRun& finder) { return status(finder, finderProgress); }

HttpResponse startDuplicates(HttpRequest& request, BackgroundRun& duplicates, const JobTable& jobs,
                             const ScanSteps& steps, FileContents& contents) {
  const FormFields fields(std::move(request.body));
  if (isCancel(fields)) return cancel(duplicates);
  SearchRequest wanted = parseSearchRequest(fields, kDuplicatesDefaultMin);
  return start(duplicates, duplicateWork(std::move(wanted), jobs, steps, contents));
}

HttpResponse duplicatesStatus(const BackgroundRun& duplicates) {
  return status(duplicates, readingProgress);
}

HttpResponse startVerification(HttpRequest& request, BackgroundRun& verification,
                               FileContents& contents) {
  const FormFields fields(std::move(request.body));
  if (isCancel(fields)) return cancel(verification);
  const std::vector<std::wstring> paths = requestedPaths(fields);
  if (paths.empty()) return errorAnswer(400, words::kNothingGiven);
  return start(verification, verificationWork(paths, contents, fields.get("seen") == "1"));
}

HttpResponse verificationStatus(const BackgroundRun& verification) {
  return status(verification, readingProgress);
}

} // namespace vorda
