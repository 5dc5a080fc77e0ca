#include "search/duplicate_search.h"

#include "search/duplicates.h"

#include <algorithm>
#include <memory>

namespace vorda {

namespace {

constexpr std::size_t kGroupsShown = 2'000;
constexpr std::size_t kFilesShown = 20'000;

// A group without the names found in forgotten scans.
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
  writeLock(json, first.path);
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

class DuplicateSearch final : public ScanSearch {
public:
  DuplicateSearch(SearchRequest request, FileContents& contents)
      : ScanSearch(std::move(request)), contents_(contents) {}

private:
  FileSink& sinkOf(int scan, Run&) override { return candidates_.sinkOf(scan); }
  void finish(Run& run) override {
    found_ = findDuplicates(candidates_.takeSameSized(), contents_, run);
  }
  void writeResult(JsonWriter& json, const ScanIds& forgotten) const override;

  FileContents& contents_;
  Candidates candidates_;
  DuplicatesFound found_;
};

void DuplicateSearch::writeResult(JsonWriter& json, const ScanIds& forgotten) const {
  const std::vector<ShownGroup> groups = without(found_.groups, forgotten);
  json.open("groups", '[');
  std::size_t shown = 0;
  std::size_t room = kFilesShown;
  bool capped = false;
  std::uint64_t waste = 0;
  for (const ShownGroup& group : groups) {
    waste += group.waste();
    // The last group may be cut short, as long as two of its files are shown.
    const std::size_t files = std::min(group.copies.size(), room);
    capped = files < group.copies.size() || shown == kGroupsShown; // like all that follow
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
  json.number(wordOf(FileFailure::cloud), found_.cloud);
  json.number(wordOf(FileFailure::unreadable), found_.unreadable);
  json.number(wordOf(FileFailure::changed), found_.changed);
  json.close('}');
}

} // namespace

RunWork duplicateWork(SearchRequest request, const JobTable& jobs, const ScanSteps& steps,
                      FileContents& contents) {
  return [work = scanSearchWork(std::make_shared<DuplicateSearch>(std::move(request), contents),
                                jobs, steps)](Run& run) {
    run.update([](RunCounters& counters) { counters.percentTo = kListedPercent; });
    return work(run);
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
  json.string("phase", wordOf(counters.phase));
  json.number("seen", counters.seen);
  json.close('}');
  return json.take();
}

} // namespace vorda
