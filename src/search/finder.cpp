#include "search/finder.h"

#include "rules/safety_rules.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace vorda {

namespace {

struct FinderSearch {
  FinderRequest request;
  SearchedScans scans;
  // Per scan, so that forgetting one uncovers what its hits had pushed out.
  std::vector<std::unique_ptr<BestHits>> found;
  bool cancelled = false;
};

void writeHit(JsonWriter& json, const Hit& hit) {
  json.open('{');
  json.string("p", hit.path);
  json.number("s", hit.size);
  json.number("m", hit.modified);
  json.number("job", static_cast<std::uint64_t>(hit.scan));
  if (const std::string word = deleteRefusal(hit.path); !word.empty()) json.string("lock", word);
  json.close('}');
}

std::string document(const FinderSearch& search, const ScanIds& forgotten) {
  std::uint64_t count = 0;
  std::uint64_t bytes = 0;
  std::vector<const Hit*> hits;
  for (const auto& found : search.found) {
    if (forgotten.contains(found->scan())) continue;
    count += found->count();
    bytes += found->bytes();
    for (const Hit& hit : found->best()) hits.push_back(&hit);
  }
  std::sort(hits.begin(), hits.end(), [&search](const Hit* a, const Hit* b) {
    return standsBefore(search.request.order, *a, *b);
  });
  if (hits.size() > kFinderHits) hits.resize(kFinderHits);
  JsonWriter json;
  json.open('{');
  json.open("files", '[');
  for (const Hit* hit : hits) writeHit(json, *hit);
  json.close(']');
  json.number("shown", hits.size());
  json.number("count", count);
  json.number("bytes", bytes);
  json.boolean("capped", count > hits.size());
  json.boolean("running", false);
  writeSearchOptions(json, search.request.search, search.scans, [&search](JsonWriter& options) {
    options.string("sort", hitOrderWord(search.request.order));
  });
  if (search.cancelled) json.boolean("cancelled", true);
  json.close('}');
  return json.take();
}

RunDocument find(const std::shared_ptr<FinderSearch>& search, const JobTable& jobs,
                 const ScanSteps& steps, Run& run) {
  // Only now: a scan that is forgotten from here on is known to the run.
  search->scans = chooseScans(jobs, search->request.search.ids);
  searchScans(search->scans, search->request.search, steps, run,
              [&search, &run](int scan) -> FileSink& {
                search->found.push_back(std::make_unique<BestHits>(scan, search->request.order,
                                                                   kFinderHits, run.found));
                return *search->found.back();
              });
  for (const auto& found : search->found) found->finish();
  search->cancelled = run.cancelled();
  return [search](const ScanIds& forgotten) { return document(*search, forgotten); };
}

} // namespace

RunWork finderWork(FinderRequest request, const JobTable& jobs, const ScanSteps& steps) {
  const auto search = std::make_shared<FinderSearch>();
  search->request = std::move(request);
  return [search, &jobs, &steps](Run& run) { return find(search, jobs, steps, run); };
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
