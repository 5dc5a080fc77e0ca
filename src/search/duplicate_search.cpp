#include "search/duplicate_search.h"

#include "rules/safety_rules.h"
#include "search/duplicates.h"

#include <algorithm>
#include <memory>

namespace vorda {

namespace {

constexpr std::size_t kGroupsShown = 2'000;
constexpr std::size_t kFilesShown = 20'000;

struct DuplicateSearch {
  SearchRequest request;
  SearchedScans scans;
  Candidates candidates;
  DuplicatesFound found;
  bool cancelled = false;
};

// A group without the names that a forgotten scan gave.
struct ShownGroup {
  std::uint64_t size = 0;
  std::vector<std::vector<const FileName*>> copies;

  std::uint64_t waste() const { return size * (copies.size() - 1); }
  const std::wstring& path() const { return copies.front().front()->path; }
};

std::vector<ShownGroup> without(const std::vector<DuplicateGroup>& groups,
                                const ScanIds& forgotten) {
  std::vector<ShownGroup> shown;
  for (const DuplicateGroup& group : groups) {
    ShownGroup one{group.size, {}};
    for (const FileCopy& copy : group.copies) {
      std::vector<const FileName*> names;
      for (const FileName& name : copy) {
        if (!forgotten.contains(name.scan)) names.push_back(&name);
      }
      if (!names.empty()) one.copies.push_back(std::move(names));
    }
    if (one.copies.size() > 1) shown.push_back(std::move(one));
  }
  std::sort(shown.begin(), shown.end(), [](const ShownGroup& a, const ShownGroup& b) {
    return a.waste() != b.waste() ? a.waste() > b.waste() : a.path() < b.path();
  });
  return shown;
}

void writeCopy(JsonWriter& json, const std::vector<const FileName*>& names) {
  const FileName& first = *names.front();
  json.open('{');
  json.string("p", first.path);
  json.number("m", first.modified);
  json.number("job", static_cast<std::uint64_t>(first.scan));
  if (names.size() > 1) {
    json.open("names", '[');
    for (std::size_t i = 1; i < names.size(); ++i) json.string(names[i]->path);
    json.close(']');
  }
  if (const std::string word = deleteRefusal(first.path); !word.empty()) json.string("lock", word);
  json.close('}');
}

void writeGroup(JsonWriter& json, const ShownGroup& group, std::size_t files) {
  json.open('{');
  json.number("s", group.size);
  json.number("c", group.copies.size());
  json.number("waste", group.waste());
  json.open("files", '[');
  for (std::size_t i = 0; i < files; ++i) writeCopy(json, group.copies[i]);
  json.close(']');
  json.close('}');
}

std::string document(const DuplicateSearch& search, const ScanIds& forgotten) {
  const std::vector<ShownGroup> groups = without(search.found.groups, forgotten);
  JsonWriter json;
  json.open('{');
  json.open("groups", '[');
  std::size_t shown = 0;
  std::size_t room = kFilesShown;
  bool capped = false;
  std::uint64_t waste = 0;
  for (const ShownGroup& group : groups) {
    waste += group.waste();
    // A group that has no room as a whole shows what fits, if that is still a group.
    const std::size_t files = std::min(group.copies.size(), room);
    capped = capped || files < group.copies.size() || shown == kGroupsShown;
    if (files < 2 || shown == kGroupsShown) continue;
    writeGroup(json, group, files);
    room -= files;
    ++shown;
  }
  json.close(']');
  json.number("shown", shown);
  json.number("count", groups.size());
  json.number("waste", waste);
  json.boolean("capped", capped);
  json.open("skipped", '{');
  json.number("cloud", search.found.cloud);
  json.number("unreadable", search.found.unreadable);
  json.number("changed", search.found.changed);
  json.close('}');
  json.boolean("running", false);
  writeSearchOptions(json, search.request, search.scans, [](JsonWriter&) {});
  if (search.cancelled) json.boolean("cancelled", true);
  json.close('}');
  return json.take();
}

RunDocument findAcross(const std::shared_ptr<DuplicateSearch>& search, const JobTable& jobs,
                       const ScanSteps& steps, FileContents& contents, Run& run) {
  // Only now: a scan that is forgotten from here on is known to the run.
  search->scans = chooseScans(jobs, search->request.ids);
  run.update([](RunCounters& counters) { counters.percentTo = kListedPercent; });
  searchScans(search->scans, search->request, steps, run,
              [&search](int scan) -> FileSink& { return search->candidates.sinkOf(scan); });
  search->found = findDuplicates(search->candidates.takeSameSized(), contents, run);
  search->cancelled = run.cancelled();
  return [search](const ScanIds& forgotten) { return document(*search, forgotten); };
}

} // namespace

RunWork duplicateWork(SearchRequest request, const JobTable& jobs, const ScanSteps& steps,
                      FileContents& contents) {
  const auto search = std::make_shared<DuplicateSearch>();
  search->request = std::move(request);
  return [search, &jobs, &steps, &contents](Run& run) {
    return findAcross(search, jobs, steps, contents, run);
  };
}

std::string readingProgress(const RunCounters& counters) {
  JsonWriter json;
  json.open('{');
  json.boolean("running", true);
  json.number("total", counters.total);
  json.number("read", counters.read);
  json.number("files", counters.files);
  json.number("files_done", counters.filesDone);
  json.number("percent", counters.percent());
  json.string("phase", std::string_view(counters.phase));
  json.number("seen", counters.seen);
  json.close('}');
  return json.take();
}

} // namespace vorda
