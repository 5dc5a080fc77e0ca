#include "search/scan_search.h"

#include "base/paths.h"
#include "base/text.h"

#include <algorithm>

namespace vorda {

namespace {

std::wstring rootOf(const Job& job) {
  const std::lock_guard lock(job.resultMutex);
  return job.result.rootPath.empty() ? normaliseRoot(job.target) : job.result.rootPath;
}

void divide(std::vector<SearchedScans::Scan>& scans) {
  for (std::size_t i = 0; i < scans.size(); ++i) {
    for (std::size_t k = 0; k < scans.size(); ++k) {
      if (liesBelow(scans[k].root, scans[i].root)) scans[i].leftOut.push_back(scans[k].root);
      if (k < i && equalsIgnoreCase(scans[i].root, scans[k].root)) scans[i].covered = true;
    }
  }
}

void searchOne(SearchedScans::Scan& scan, const SearchRequest& request, const ScanSteps& steps,
               Run& run, FileSink& sink) {
  const auto progress = std::make_shared<ScanProgress>();
  ScanOptions options;
  options.root = scan.root;
  options.extensions = request.extensions;
  options.namePatterns = request.namePatterns;
  options.fileListThreshold = request.min;
  options.sink = &sink;
  options.leftOut = scan.leftOut;
  ScanResult result;
  run.beginScan(progress);
  if (!readLocal(steps, *progress, options, result)) {
    scan.error = progress->texts().failure;
    if (scan.error.empty()) scan.error = kScanFailed;
  }
  run.endScan(result.fileCount);
}

void writeScan(JsonWriter& json, const SearchedScans::Scan& scan) {
  json.open('{');
  json.number("id", static_cast<std::uint64_t>(scan.id));
  json.string("label", scan.label);
  if (!scan.error.empty()) json.string("error", scan.error);
  json.close('}');
}

} // namespace

SearchedScans chooseScans(const JobTable& jobs, const std::vector<int>& ids) {
  SearchedScans chosen;
  for (const int id : ids) {
    const std::shared_ptr<Job> job = jobs.find(id);
    if (!job || !job->done) continue;
    if (job->overSsh()) {
      chosen.sshSkipped.push_back({id, job->label, {}, {}, false, {}});
    } else {
      chosen.scans.push_back({id, job->label, rootOf(*job), {}, false, {}});
    }
  }
  divide(chosen.scans);
  return chosen;
}

void searchScans(SearchedScans& chosen, const SearchRequest& request, const ScanSteps& steps,
                 Run& run, const SinkOfScan& sinkOf) {
  run.update([&chosen](RunCounters& counters) { counters.scans = chosen.scans.size(); });
  for (SearchedScans::Scan& scan : chosen.scans) {
    if (run.cancelled()) return;
    if (scan.covered) {
      run.endScan(0);
    } else {
      searchOne(scan, request, steps, run, sinkOf(scan.id));
    }
  }
}

void writeSearchOptions(JsonWriter& json, const SearchRequest& request, const SearchedScans& chosen,
                        const std::function<void(JsonWriter&)>& extra) {
  json.open("opts", '{');
  json.open("ids", '[');
  for (const int id : request.ids) json.number(static_cast<std::uint64_t>(id));
  json.close(']');
  json.number("scans", chosen.scans.size());
  json.string("exts", request.exts);
  json.string("names", request.names);
  json.number("min", request.min);
  extra(json);
  json.open("ssh_skipped", '[');
  for (const SearchedScans::Scan& scan : chosen.sshSkipped) writeScan(json, scan);
  json.close(']');
  json.open("failed", '[');
  for (const SearchedScans::Scan& scan : chosen.scans) {
    if (!scan.error.empty()) writeScan(json, scan);
  }
  json.close(']');
  json.close('}');
}

} // namespace vorda
