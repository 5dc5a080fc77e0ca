#include "fileops/remove_tree.h"

#include "base/paths.h"

#include <memory>
#include <utility>

namespace vorda {

namespace {

// Removes one folder with everything in it. Each folder is held from before it is listed until it
// is empty: nobody can put a link in its place meanwhile.
class TreeRemoval {
public:
  TreeRemoval(Machine& machine, FolderSource& folders, const MayEnter& mayEnter)
      : machine_(machine), reader_(folders.reader()), mayEnter_(mayEnter) {}

  // 0, or the system's code of the first failure.
  int run(const std::wstring& path, const EntryFacts& facts) {
    if (!facts.folder || facts.link) return machine_.removeEntry(path, facts);
    enter({path, facts.identity, false});
    while (!open_.empty()) {
      if (open_.back().inside.empty()) {
        leave();
      } else {
        const Place next = std::move(open_.back().inside.back());
        open_.back().inside.pop_back();
        enter(next);
      }
    }
    return failure_;
  }

private:
  struct Place {
    std::wstring path;
    std::optional<FileIdentity> identity;
    bool literal; // a name in the path ends in dots or spaces
  };
  struct Open {
    Place place;
    std::shared_ptr<void> held;
    std::vector<Place> inside; // folders that are still to be removed
  };

  // 0 is no failure.
  void note(int code) {
    if (failure_ == 0) failure_ = code;
  }

  void enter(const Place& place) {
    std::shared_ptr<void> held = machine_.holdExactly(place.path);
    if (!held || !mayEnter_(place.path, lastName(place.path))) {
      note(kNotAsExpected);
      return;
    }
    Open open = {place, std::move(held), {}};
    for (const auto& [path, facts] : list(open)) note(machine_.removeEntry(path, facts));
    open_.push_back(std::move(open));
  }

  // Adds the folders to those inside; returns files and links.
  std::vector<std::pair<std::wstring, EntryFacts>> list(Open& open) {
    std::vector<std::pair<std::wstring, EntryFacts>> others;
    if (!reader_->open(open.place.path, open.place.literal)) {
      note(kNotAsExpected);
      return {};
    }
    FolderItem item;
    while (reader_->next(item)) {
      std::wstring path = joinPath(open.place.path, item.name);
      if (item.folder && !item.reparsePoint) {
        open.inside.push_back({std::move(path), {}, open.place.literal || losesItsEnd(item.name)});
      } else {
        others.emplace_back(std::move(path), EntryFacts{item.folder, item.reparsePoint, {}});
      }
    }
    return others;
  }

  void leave() {
    Open done = std::move(open_.back());
    open_.pop_back();
    done.held.reset();
    note(machine_.removeEntry(done.place.path, {true, false, done.place.identity}));
  }

  Machine& machine_;
  std::unique_ptr<FolderReader> reader_;
  const MayEnter& mayEnter_;
  std::vector<Open> open_; // from the outermost in
  int failure_ = 0;
};

bool isForShell(const Doomed& one) {
  return !one.facts.link && one.measure.folderLinks == 0 &&
         !isTooLongForShell(one.real, one.measure);
}

} // namespace

bool isTooLongForShell(const std::wstring& real, const PathMeasure& measure) {
  return real.size() > kLongestForShell || measure.longest > kLongestForShell;
}

ShellOutcome removeForGood(Machine& machine, FolderSource& folders,
                           const std::vector<Doomed>& doomed, const MayEnter& mayEnter) {
  std::vector<std::wstring> paths;
  for (const Doomed& one : doomed) {
    if (isForShell(one)) paths.push_back(one.real);
  }
  ShellOutcome outcome;
  if (!paths.empty()) outcome = machine.shellDelete(paths, false);
  for (const Doomed& one : doomed) {
    if (isForShell(one)) continue;
    const int code = TreeRemoval(machine, folders, mayEnter).run(one.real, one.facts);
    if (outcome.code == 0) outcome.code = code;
  }
  return outcome;
}

} // namespace vorda
