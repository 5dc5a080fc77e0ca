#include "search/scan_search.h"

#include "base/paths.h"
#include "base/text.h"
#include "rules/safety_rules.h"

#include <algorithm>

namespace vorda {

namespace {

std::wstring rootOf(const Job& job) {
  const std::lock_guard lock(job.resultMutex);
  return job.result.rootPath.empty() ? normaliseRoot(job.target) : job.result.rootPath;
}

} // namespace

void ScanSearch::work(const JobTable& jobs, const ScanSteps& steps, Run& run) {
  // Not earlier: the run is told about scans that are forgotten from now on.
  chooseScans(jobs);
  run.update([this](RunCounters& counters) { counters.scans = scans_.size(); });
  for (Scan& scan : scans_) {
    if (run.cancelled()) break;
    if (scan.covered) {
      run.endScan(0);
    } else {
      list(scan, steps, run);
    }
  }
  finish(run);
  cancelled_ = run.cancelled();
}

// The part of a scan with this root that is searched; empty if none is.
std::wstring ScanSearch::rootIn(const std::wstring& root) const {
  const std::wstring& in = request_.in;
  if (in.empty()) return root;
  const auto parts = pathComponents(in);
  // That would lead out of a scan again.
  if (std::find(parts.begin(), parts.end(), L"..") != parts.end()) return {};
  if (liesBelow(root, in)) return root;
  return equalsIgnoreCase(in, root) || liesBelow(in, root) ? in : std::wstring();
}

void ScanSearch::chooseScans(const JobTable& jobs) {
  for (const int id : request_.ids) {
    const std::shared_ptr<Job> job = jobs.find(id);
    if (!job || !job->done) continue;
    if (job->overSsh()) {
      sshSkipped_.push_back({id, job->label, {}, {}, false, {}});
    } else {
      const std::wstring root = rootIn(rootOf(*job));
      if (!root.empty()) scans_.push_back({id, job->label, root, {}, false, {}});
    }
  }
  for (std::size_t i = 0; i < scans_.size(); ++i) {
    for (std::size_t k = 0; k < scans_.size(); ++k) {
      if (liesBelow(scans_[k].root, scans_[i].root)) scans_[i].leftOut.push_back(scans_[k].root);
      if (k < i && equalsIgnoreCase(scans_[i].root, scans_[k].root)) scans_[i].covered = true;
    }
  }
}

void ScanSearch::list(Scan& scan, const ScanSteps& steps, Run& run) {
  const auto progress = std::make_shared<ScanProgress>();
  ScanOptions options;
  options.root = scan.root;
  options.extensions = request_.extensions;
  options.namePatterns = request_.namePatterns;
  options.fileListThreshold = request_.min;
  options.bounds = request_.bounds;
  options.sink = &sinkOf(scan.id, run);
  options.leftOut = scan.leftOut;
  ScanResult result;
  run.beginScan(progress);
  if (!readLocal(steps, *progress, options, result)) {
    scan.error = progress->texts().failure;
    if (scan.error.empty()) scan.error = kScanFailed;
  }
  run.endScan(result.fileCount);
}

void ScanSearch::writeScan(JsonWriter& json, const Scan& scan) {
  json.open('{');
  json.number("id", static_cast<std::uint64_t>(scan.id));
  json.string("label", scan.label);
  if (!scan.error.empty()) json.string("error", scan.error);
  json.close('}');
}

std::string ScanSearch::document(const ScanIds& forgotten) const {
  JsonWriter json;
  json.open('{');
  writeResult(json, forgotten);
  json.boolean("running", false);
  json.open("opts", '{');
  json.open("ids", '[');
  for (const int id : request_.ids) json.number(static_cast<std::uint64_t>(id));
  json.close(']');
  json.number("scans", scans_.size());
  json.string("exts", request_.exts);
  json.string("names", request_.names);
  json.number("min", request_.min);
  if (!request_.in.empty()) json.string("in", request_.in);
  const FileBounds& bounds = request_.bounds;
  if (bounds.most != UINT64_MAX) json.number("max", bounds.most);
  if (bounds.after != 0) json.number("after", bounds.after);
  if (bounds.before != 0) json.number("before", bounds.before);
  writeOptions(json);
  json.open("ssh_skipped", '[');
  for (const Scan& scan : sshSkipped_) writeScan(json, scan);
  json.close(']');
  json.open("failed", '[');
  for (const Scan& scan : scans_) {
    if (!scan.error.empty()) writeScan(json, scan);
  }
  json.close(']');
  json.close('}');
  if (cancelled_) json.boolean(kCancelled, true);
  json.close('}');
  return json.take();
}

RunWork scanSearchWork(std::shared_ptr<ScanSearch> search, const JobTable& jobs,
                       const ScanSteps& steps) {
  return [search = std::move(search), &jobs, &steps](Run& run) -> RunDocument {
    search->work(jobs, steps, run);
    return [search](const ScanIds& forgotten) { return search->document(forgotten); };
  };
}

void writeLock(JsonWriter& json, const std::wstring& path) {
  const Refusal refusal = deleteRefusal(path);
  if (refusal != Refusal::none) json.string("lock", wordOf(refusal));
}

} // namespace vorda
