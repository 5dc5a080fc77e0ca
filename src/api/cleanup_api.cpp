#include "api/cleanup_api.h"

#include "api/job_change.h"
#include "api/request_fields.h"
#include "api/touched_scans.h"
#include "api/words.h"
#include "base/text.h"
#include "base/time.h"
#include "fileops/cleanup.h"
#include "fileops/recycle_bin.h"
#include "json/json_writer.h"
#include "tree/advice.h"

#include <algorithm>

namespace vorda {

namespace {

std::vector<std::wstring> advisedFolders(const Job& job, std::string_view what) {
  const std::lock_guard lock(job.resultMutex);
  std::vector<std::wstring> paths;
  for (const Finding& finding : buildAdvice(job.result, nowUnixMs())) {
    if (finding.code != what) continue;
    for (const FindingItem& item : finding.items) paths.push_back(item.path);
  }
  return paths;
}

// Returns how much smaller the folder is.
std::uint64_t updateAfter(const CleanupResult& result, const std::wstring& path,
                          TouchedScans& scans, FolderSource& folders) {
  std::uint64_t after = 0;
  try {
    after = measurePath(folders, path).bytes;
  } catch (...) {
    scans.fail();
    throw;
  }
  const std::uint64_t freed = result.before.bytes - std::min(result.before.bytes, after);
  scans.updateCleaned(path, result.before.types, freed);
  return freed;
}

HttpResponse cleanFolders(const Job& job, std::string_view what, TouchedScans& scans,
                          Machine& machine, FolderSource& folders) {
  std::uint64_t deleted = 0;
  std::uint64_t skipped = 0;
  std::uint64_t bytes = 0;
  bool logged = true;
  std::uint64_t cleaned = 0;
  for (const std::wstring& path : advisedFolders(job, what)) {
    const CleanupResult result = cleanFolder(machine, folders, path);
    if (result.failure != CleanupFailure::none) {
      ++skipped;
      continue;
    }
    ++cleaned;
    logged = logged && result.logged;
    deleted += result.deleted;
    skipped += result.skipped;
    if (!result.outOfReach) bytes += updateAfter(result, path, scans, folders);
    if (result.outOfMemory) return errorAnswer(500, kNoMemory);
  }
  JsonWriter json;
  json.open('{');
  json.boolean("ok", true);
  json.number("deleted", deleted);
  json.number("skipped", skipped);
  json.number("folders", cleaned);
  json.number("bytes", bytes);
  if (!logged) json.boolean("logged", false);
  json.close('}');
  return answer(200, json.take());
}

bool isCleanable(std::string_view what) {
  return what == kTempFilesAdvice || what == kUpdatesAdvice;
}

HttpResponse binAnswer(bool ok, const BinFigures& figures) {
  JsonWriter json;
  json.open('{');
  json.boolean("ok", ok);
  json.number("bytes", figures.bytes);
  json.number("items", figures.items);
  if (!ok) json.string("error", words::kEmptyFailed);
  json.close('}');
  return answer(ok ? 200 : 500, json.take());
}

} // namespace

HttpResponse cleanUp(HttpRequest& request, const JobTable& jobs, Machine& machine,
                     FolderSource& folders, RunningOperations& operations) {
  const std::unique_ptr<FormFields> fields = completeForm(request);
  if (!fields) return errorAnswer(400, words::kIncomplete);
  const std::shared_ptr<Job> job = usableJob(jobs, *fields);
  if (!job) return errorAnswer(404, words::kNoJob);
  const std::string_view what = fields->get("what");
  if (!isCleanable(what)) return errorAnswer(400, words::kNotAllowed);
  const RunningOperations::Operation running = operations.begin();
  TouchedScans scans(jobs, machine, folders, job.get());
  return cleanFolders(*job, what, scans, machine, folders);
}

HttpResponse cleanableFolders(const HttpRequest& request, const JobTable& jobs, Machine& machine,
                              FolderSource& folders) {
  const std::shared_ptr<Job> job = usableJob(jobs, request.queryValue("job").value_or(""));
  if (!job) return errorAnswer(404, words::kNoJob);
  const std::string what = request.queryValue("what").value_or("");
  if (!isCleanable(what)) return errorAnswer(400, words::kNotAllowed);
  JsonWriter json;
  json.open('{');
  json.open("folders", '[');
  for (const std::wstring& path : advisedFolders(*job, what)) {
    const CleanupPreview preview = previewCleanup(machine, folders, path);
    json.open('{');
    json.string("p", path);
    if (preview.failure == CleanupFailure::none) {
      json.number("s", preview.measure.bytes);
      json.number("f", preview.measure.files);
      json.number("entries", preview.entries);
    } else {
      const bool forbidden = preview.failure == CleanupFailure::notAllowed;
      json.string("why", forbidden ? words::kNotAllowed : words::kUnreadable);
    }
    json.close('}');
  }
  json.close(']');
  json.close('}');
  return answer(200, json.take());
}

HttpResponse listBins(Machine& machine, const std::vector<std::wstring>& roots) {
  const BinFigures all = machine.binFigures({}).value_or(BinFigures{});
  std::vector<std::pair<std::wstring, BinFigures>> bins;
  std::uint64_t items = 0;
  for (const std::wstring& root : roots) {
    const std::optional<BinFigures> figures =
        machine.hasBin(root) ? machine.binFigures(root) : std::nullopt;
    if (!figures || figures->items == 0) continue;
    items += figures->items;
    bins.emplace_back(root, *figures);
  }
  // Drives that share a bin each report all of it, and nothing says whose is what.
  if (items > all.items) bins.clear();
  JsonWriter json;
  json.open('{');
  json.number("bytes", all.bytes);
  json.number("items", all.items);
  json.open("bins", '[');
  for (const auto& [root, figures] : bins) {
    json.open('{');
    json.string("p", root);
    json.number("bytes", figures.bytes);
    json.number("items", figures.items);
    json.close('}');
  }
  json.close(']');
  json.close('}');
  return answer(200, json.take());
}

HttpResponse emptyBin(const JobTable& jobs, Machine& machine, FolderSource& folders,
                      RunningOperations& operations) {
  const RunningOperations::Operation running = operations.begin();
  TouchedScans scans(jobs, machine, folders, nullptr);
  const std::vector<Job*> touched = scans.jobs();
  BinsOfDrives bins(machine, folders);
  for (const Job* job : touched) bins.measure(job->result.rootPath);
  BinFigures figures;
  if (!emptyAllBins(machine, figures)) return binAnswer(false, {});
  bins.measureAgain();
  for (Job* job : touched) {
    orFail(*job, [&] {
      const std::lock_guard lock(job->resultMutex);
      TreeUpdate update(job->result);
      const auto lost = bins.bringUpToDate(update, job->result);
      if (!lost && job->binned == 0) return;
      job->freed += lost.value_or(job->binned);
      job->binned = 0;
      finishChange(*job, update);
    });
  }
  return binAnswer(true, figures);
}

} // namespace vorda
