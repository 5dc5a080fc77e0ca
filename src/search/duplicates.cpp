#include "search/duplicates.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <tuple>

namespace vorda {

namespace {

// The overall percentages at which the stages end.
constexpr std::uint64_t kChecked = 20;
constexpr std::uint64_t kIdentified = 25;
constexpr std::uint64_t kCompared = 40;
constexpr std::uint64_t kHashed = 100;

struct Copy {
  std::uint64_t size = 0;
  FileCopy names;
  FileState state;
  std::optional<FileIdentity> identity;    // only requested if another file has the same state
  Digest digest{};                         // first of the ends, later of the whole file
  FileFailure failure = FileFailure::none; // of the last stage

  const std::wstring& path() const { return names.front().path; }
};
using Copies = std::vector<Copy>;

constexpr auto bySize = [](const Copy& copy) { return copy.size; };
constexpr auto byContent = [](const Copy& copy) { return std::tie(copy.size, copy.digest); };
constexpr auto byState = [](const Copy& copy) {
  const FileState& state = copy.state;
  return std::tie(state.size, state.lastWrite, state.created);
};
constexpr auto byIdentity = [](const Copy& copy) -> const std::optional<FileIdentity>& {
  return copy.identity;
};
constexpr auto byPath = [](const Copy& copy) -> const std::wstring& { return copy.path(); };

template <typename Key> void sortBy(Copies& copies, Key key) {
  std::stable_sort(copies.begin(), copies.end(),
                   [key](const Copy& a, const Copy& b) { return key(a) < key(b); });
}

// Sorts by the key and drops copies with a unique key.
template <typename Key> void keepEqual(Copies& copies, Key key) {
  sortBy(copies, key);
  auto kept = copies.begin();
  for (auto from = copies.begin(); from != copies.end();) {
    const auto to = std::find_if(from, copies.end(),
                                 [key, from](const Copy& one) { return key(one) != key(*from); });
    if (to - from > 1) kept = kept == from ? to : std::move(from, to, kept);
    from = to;
  }
  copies.erase(kept, copies.end());
}

// Merges all names of one file into one copy.
void mergeNames(Copies& copies) {
  sortBy(copies, byPath);
  sortBy(copies, byIdentity);
  Copies merged;
  for (Copy& copy : copies) {
    if (copy.identity && !merged.empty() && copy.identity == merged.back().identity) {
      merged.back().names.push_back(std::move(copy.names.front()));
    } else {
      merged.push_back(std::move(copy));
    }
  }
  copies = std::move(merged);
}

void addGroups(Copies copies, std::vector<DuplicateGroup>& groups) {
  const Copy* before = nullptr;
  for (Copy& copy : copies) {
    if (before == nullptr || byContent(*before) != byContent(copy))
      groups.push_back({copy.size, {}});
    groups.back().copies.push_back(std::move(copy.names));
    before = &copy;
  }
}

class Search {
public:
  Search(FileContents& contents, Run& run) : contents_(contents), run_(run) {}

  DuplicatesFound search(std::vector<SizedName> names) {
    Copies copies = look(std::move(names));
    compareEnds(copies);
    // The ends of small files are the whole file.
    const auto large = std::stable_partition(
        copies.begin(), copies.end(), [](const Copy& copy) { return copy.size <= 2 * kEndBytes; });
    Copies toHash(std::make_move_iterator(large), std::make_move_iterator(copies.end()));
    copies.erase(large, copies.end());
    addGroups(std::move(copies), found_.groups);
    hashWhole(toHash);
    addGroups(std::move(toHash), found_.groups);
    return std::move(found_);
  }

private:
  using CopyWork = std::function<void(Copy& copy)>;
  using CopyOrder = std::vector<Copy*>;

  Copies look(std::vector<SizedName> names);
  void identify(Copies& copies);
  void compareEnds(Copies& copies);
  void hashWhole(Copies& copies);

  // Processes copies in this order, drive by drive. Afterwards counts and drops those that
  // failed, and drops those that were not reached before a cancel.
  void workOn(Copies& copies, const CopyOrder& order, const std::function<CopyWork()>& makeWork);
  template <typename Read> std::function<CopyWork()> reading(Read read);
  void beginStage(RunPhase phase, std::uint64_t lastPercent, std::uint64_t files,
                  std::uint64_t bytes) {
    run_.update(
        [=](RunCounters& counters) { counters.beginStage(phase, lastPercent, files, bytes); });
  }
  void count(FileFailure failure);

  FileContents& contents_;
  Run& run_;
  DuplicatesFound found_;
};

// By path, which roughly matches their order on the disk.
std::vector<Copy*> inOrderOfPaths(Copies& copies) {
  std::vector<Copy*> order;
  for (Copy& copy : copies) order.push_back(&copy);
  std::sort(order.begin(), order.end(),
            [](const Copy* a, const Copy* b) { return a->path() < b->path(); });
  return order;
}

Copies Search::look(std::vector<SizedName> names) {
  Copies copies(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    copies[i].size = names[i].size;
    copies[i].names.push_back(std::move(names[i].name));
  }
  beginStage(RunPhase::comparing, kChecked, copies.size(), 0);
  workOn(copies, inOrderOfPaths(copies), [this]() -> CopyWork {
    return [this](Copy& copy) {
      const std::optional<FileState> state = contents_.look(copy.path(), copy.failure);
      if (!state) return;
      copy.state = *state;
      copy.failure = state->size == copy.size ? FileFailure::none : FileFailure::changed;
    };
  });
  identify(copies);
  mergeNames(copies);
  keepEqual(copies, bySize);
  return copies;
}

// Only names with the same state can belong to one file.
void Search::identify(Copies& copies) {
  sortBy(copies, byState);
  CopyOrder alike;
  for (std::size_t i = 1; i < copies.size(); ++i) {
    if (byState(copies[i - 1]) != byState(copies[i])) continue;
    if (alike.empty() || alike.back() != &copies[i - 1]) alike.push_back(&copies[i - 1]);
    alike.push_back(&copies[i]);
  }
  beginStage(RunPhase::comparing, kIdentified, alike.size(), 0);
  workOn(copies, alike, [this]() -> CopyWork {
    return [this](Copy& copy) {
      copy.identity = contents_.identity(copy.path());
      copy.failure = FileFailure::none;
    };
  });
}

void Search::compareEnds(Copies& copies) {
  std::uint64_t bytes = 0;
  for (const Copy& copy : copies) bytes += endBytes(copy.size);
  beginStage(RunPhase::comparing, kCompared, copies.size(), bytes);
  workOn(copies, inOrderOfPaths(copies), reading(&ContentReader::digestEnds));
  sortBy(copies, byPath);
  keepEqual(copies, byContent);
}

void Search::hashWhole(Copies& copies) {
  std::uint64_t bytes = 0;
  CopyOrder order;
  // Groups that waste most come first, so that a cancelled search has found them.
  std::vector<std::pair<std::uint64_t, std::size_t>> groups; // waste, index of the first copy
  for (std::size_t i = 0; i < copies.size(); ++i) {
    bytes += copies[i].size;
    if (i > 0 && byContent(copies[i - 1]) == byContent(copies[i])) {
      groups.back().first += copies[i].size;
    } else {
      groups.emplace_back(0, i);
    }
  }
  std::sort(groups.begin(), groups.end(), std::greater<>());
  for (const auto& [waste, first] : groups) {
    for (std::size_t i = first; i <= first + waste / copies[first].size; ++i) {
      order.push_back(&copies[i]);
    }
  }
  beginStage(RunPhase::hashing, kHashed, copies.size(), bytes);
  workOn(copies, order, reading(&ContentReader::digestWhole));
  keepEqual(copies, byContent);
}

template <typename Read> std::function<Search::CopyWork()> Search::reading(Read read) {
  return [this, read]() -> CopyWork {
    return
        [read, reader = std::make_shared<ContentReader>(contents_, run_, Writers::allowed)](
            Copy& copy) { copy.failure = ((*reader).*read)(copy.path(), copy.state, copy.digest); };
  };
}

void Search::workOn(Copies& copies, const CopyOrder& order,
                    const std::function<CopyWork()>& makeWork) {
  std::vector<const std::wstring*> paths;
  for (Copy* copy : order) {
    copy->failure = FileFailure::cancelled;
    paths.push_back(&copy->path());
  }
  forEachByDrive(paths, run_, [&]() -> ItemWork {
    contents_.lowerPriority();
    return [this, &order, work = makeWork()](std::size_t item) {
      work(*order[item]);
      run_.update([](RunCounters& counters) { ++counters.filesDone; });
    };
  });
  for (const Copy& copy : copies) count(copy.failure);
  std::erase_if(copies, [](const Copy& copy) { return copy.failure != FileFailure::none; });
}

void Search::count(FileFailure failure) {
  switch (failure) {
  case FileFailure::none:
  case FileFailure::cancelled: break;
  case FileFailure::cloud: ++found_.cloud; break;
  case FileFailure::changed:
  case FileFailure::missing: ++found_.changed; break;
  case FileFailure::link:
  case FileFailure::unreadable: ++found_.unreadable; break;
  }
}

} // namespace

DuplicatesFound findDuplicates(std::vector<SizedName> names, FileContents& contents, Run& run) {
  return Search(contents, run).search(std::move(names));
}

} // namespace vorda
