#include "search/finder.h"

#include "tree/disk_keys.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace vorda {

namespace {

void writeHit(JsonWriter& json, const Hit& hit, bool more, bool unseenNames) {
  json.open('{');
  json.string("p", hit.path);
  json.number("s", hit.size);
  json.number("m", hit.modified);
  if (more && hit.diskKnown) {
    writeDiskKeys(json, {hit.disk, hit.back, hit.cloud});
    if (unseenNames) json.number("xs", 1);
  }
  json.number("job", static_cast<std::uint64_t>(hit.scan));
  writeLock(json, hit.path);
  json.close('}');
}

class Finder final : public ScanSearch {
public:
  Finder(FinderRequest request, const JobTable& jobs)
      : ScanSearch(std::move(request.search)), order_(request.order), more_(request.more),
        jobs_(jobs) {}

private:
  FileSink& sinkOf(int scan, Run& run) override {
    return *found_.emplace_back(std::make_unique<BestHits>(scan, order_, kFinderHits, run.found));
  }

  void finish(Run&) override {
    for (const auto& found : found_) {
      found->finish();
      if (more_) askForNames(*found);
    }
  }

  // The scan knows which of the files have several names.
  void askForNames(BestHits& found) {
    const std::shared_ptr<Job> job = jobs_.find(found.scan());
    if (!job) return;
    const std::lock_guard lock(job->resultMutex);
    const LinkTable& links = job->result.links;
    if (!links.complete) unseenNames_.insert(found.scan());
    for (Hit& hit : found.best()) {
      const std::uint32_t link = hit.fileId == 0 ? kNoLink : links.find(hit.fileId);
      if (link == kNoLink) continue;
      const LinkedFile& file = links.files[link];
      if (file.count > 1 || file.stays) hit.back = 0;
    }
  }

  void writeResult(JsonWriter& json, const ScanIds& forgotten) const override;
  void writeOptions(JsonWriter& json) const override { json.string("sort", hitOrderWord(order_)); }

  const HitOrder order_;
  const bool more_;
  const JobTable& jobs_;
  ScanIds unseenNames_; // scans that may not know all names
  // One per scan: when a scan is forgotten, hits of the others take the place of its own.
  std::vector<std::unique_ptr<BestHits>> found_;
};

void Finder::writeResult(JsonWriter& json, const ScanIds& forgotten) const {
  std::uint64_t count = 0;
  std::uint64_t bytes = 0;
  std::vector<const Hit*> hits;
  for (const auto& found : found_) {
    if (forgotten.contains(found->scan())) continue;
    count += found->count();
    bytes += found->bytes();
    for (const Hit& hit : found->best()) hits.push_back(&hit);
  }
  std::sort(hits.begin(), hits.end(),
            [this](const Hit* a, const Hit* b) { return standsBefore(order_, *a, *b); });
  if (hits.size() > kFinderHits) hits.resize(kFinderHits);
  json.open("files", '[');
  for (const Hit* hit : hits) writeHit(json, *hit, more_, unseenNames_.contains(hit->scan));
  json.close(']');
  json.number("shown", hits.size());
  json.number("count", count);
  json.number("bytes", bytes);
  json.boolean("capped", count > hits.size());
}

} // namespace

RunWork finderWork(FinderRequest request, const JobTable& jobs, const ScanSteps& steps) {
  return scanSearchWork(std::make_shared<Finder>(std::move(request), jobs), jobs, steps);
}

std::string finderProgress(const RunCounters& counters) {
  JsonWriter json;
  json.open('{');
  json.boolean("running", true);
  json.number("scans", counters.scans);
  json.number("scans_done", counters.scansDone);
  json.number("found", counters.found);
  json.number("percent", counters.scans == 0 ? 0 : counters.scansDone * 100 / counters.scans);
  json.number("seen", counters.seen);
  json.close('}');
  return json.take();
}

} // namespace vorda
