#include "fileops/delete.h"

#include "base/out_of_memory.h"
#include "base/paths.h"
#include "base/text.h"
#include "fileops/deletion_log.h"
#include "fileops/journal.h"
#include "fileops/path_judge.h"
#include "fileops/remove_tree.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <set>

namespace vorda {

namespace {

constexpr std::string_view kAborted = "aborted";
constexpr std::string_view kFailed = "failed:"; // the shell's code follows

using Paths = std::set<std::wstring>;

// No root of a drive is among the paths: none may be deleted.
bool hasAncestorIn(const Paths& paths, const std::wstring& lower) {
  for (std::size_t at = lower.find(L'\\', 1); at != std::wstring::npos;
       at = lower.find(L'\\', at + 1)) {
    if (paths.contains(lower.substr(0, at))) return true;
  }
  return false;
}

// A path that may be deleted, from the first look at it to the last.
struct Item {
  Verdict verdict;
  Expected expected;
  DeletedPath path;
};

Paths realPaths(const std::vector<Item>& items) {
  Paths real;
  for (const Item& one : items) real.insert(lowerCase(one.verdict.real));
  return real;
}

// Drops paths inside other paths of the list, and duplicates. Both the requested and the
// resolved paths are compared, so that two spellings of one path are deleted once.
std::vector<Item> pruned(std::vector<Item> accepted) {
  Paths spelled;
  const Paths real = realPaths(accepted);
  for (const Item& one : accepted) spelled.insert(lowerCase(one.verdict.path));
  Paths taken;
  std::vector<Item> remaining;
  for (Item& one : accepted) {
    const std::wstring place = lowerCase(one.verdict.real);
    if (hasAncestorIn(spelled, lowerCase(one.verdict.path)) || hasAncestorIn(real, place)) continue;
    if (taken.insert(place).second) remaining.push_back(std::move(one));
  }
  return remaining;
}

Seen seenNow(const PathFacts& facts, const PathMeasure& measure,
             const std::optional<FileIdentity>& identity) {
  if (facts.reparsePoint) return {SeenKind::link, 0, facts.lastWrite, identity, {}};
  if (facts.folder) {
    // What cannot be listed now may not have been there before.
    return {SeenKind::folder,
            measure.bytes,
            mixed(measure.mark, measure.unreadableFolders),
            identity,
            {}};
  }
  return {SeenKind::file, facts.size, facts.lastWrite, identity, {}};
}

class Deletion {
public:
  Deletion(Machine& machine, FolderSource& folders, FileKeeper& keeper,
           const DeleteRequest& request)
      : machine_(machine), folders_(folders), request_(request),
        judge_(machine, folders, request.root), proof_(keeper, request.nowMs) {}

  DeleteResult run();

private:
  using Test = std::function<Refusal(Item&)>;
  using BinQuestion = std::function<std::optional<BinFigures>()>;

  void judge();
  void preview();
  void execute();
  void refuse(const Test& test);
  Refusal prove(const Paths& going, const Item& item);
  Refusal measure(Item& item);
  Refusal judgeAgain(PathJudge& judge, Item& item);
  std::vector<std::wstring> realPathList() const;
  ShellOutcome remove(bool intoBin);
  ShellOutcome removeAll();
  Journal journalOf() const;
  void lookAfterwards(const ShellOutcome& outcome, const std::optional<BinFigures>& before,
                      const BinQuestion& bin);
  void log(const ShellOutcome& outcome, bool eachPath);

  Machine& machine_;
  FolderSource& folders_;
  const DeleteRequest& request_;
  PathJudge judge_;
  CopyProof proof_;
  // The parent folders of all items. While they are held open, none of them can be replaced by a
  // link, so the shell finds what was judged last.
  std::map<std::wstring, std::shared_ptr<void>> held_;
  std::vector<Item> items_;
  DeleteResult result_;
};

DeleteResult Deletion::run() {
  judge();
  if (request_.dryRun) {
    preview();
  } else {
    execute();
  }
  return std::move(result_);
}

void Deletion::judge() {
  for (std::size_t i = 0; i < request_.paths.size(); ++i) {
    Item item;
    item.verdict = judge_.judge(request_.paths[i]);
    if (i < request_.expected.size()) item.expected = request_.expected[i];
    Verdict& verdict = item.verdict;
    if (verdict.refusal == Refusal::none && !request_.permanent &&
        isTooLongForShell(verdict.real, {})) {
      verdict.refusal = Refusal::tooLong;
    }
    if (verdict.refusal != Refusal::none) {
      result_.refused.push_back({verdict.path, verdict.refusal});
      continue;
    }
    item.path.path = verdict.path;
    item.path.real = verdict.real;
    item.path.inTree = judge_.inTree(verdict.real);
    item.path.folder = verdict.facts.folder && !verdict.facts.reparsePoint;
    items_.push_back(std::move(item));
  }
  items_ = pruned(std::move(items_));
}

// Takes out the items that the test refuses.
void Deletion::refuse(const Test& test) {
  std::vector<Item> good;
  for (Item& one : items_) {
    const Refusal why = test(one);
    if (why == Refusal::none) {
      good.push_back(std::move(one));
    } else {
      result_.refused.push_back({one.verdict.path, why});
    }
  }
  items_ = std::move(good);
}

void Deletion::preview() {
  std::map<std::wstring, bool> bins;
  const auto hasBin = [this, &bins](const std::wstring& path) {
    const std::wstring root = placeRoot(path);
    const auto known = bins.find(root);
    return known != bins.end() ? known->second
                               : bins.emplace(root, machine_.hasBin(root)).first->second;
  };
  if (request_.wantSeen) refuse([this](Item& item) { return measure(item); });
  for (Item& one : items_) {
    const Verdict& verdict = one.verdict;
    if (!verdict.facts.folder && !verdict.facts.reparsePoint) result_.bytes += verdict.facts.size;
    if (!request_.permanent && !(hasBin(verdict.path) && hasBin(verdict.real))) {
      result_.noBin.push_back(verdict.path);
    }
    one.path.seen = seenNow(verdict.facts, one.path.measure, verdict.identity);
    result_.wouldDelete.push_back(std::move(one.path));
  }
}

void Deletion::execute() {
  for (const Item& one : items_) {
    const std::wstring folder = parentOf(one.verdict.real);
    if (!held_.contains(folder)) held_.emplace(folder, machine_.hold(folder));
  }
  // Contents first, since reading takes long; whatever was read cannot change afterwards.
  const Paths going = realPaths(items_);
  refuse([this, &going](Item& item) { return prove(going, item); });
  refuse([this](Item& item) { return measure(item); });
  PathJudge judge(machine_, folders_, request_.root);
  refuse([this, &judge](Item& item) { return judgeAgain(judge, item); });
  if (items_.empty()) return;

  const bool intoBin = !request_.permanent;
  const std::wstring& first = items_.front().path.real;
  const std::wstring binRoot =
      intoBin && isDriveLetterPath(first) ? first.substr(0, 3) : std::wstring();
  const auto bin = [this, &binRoot] {
    return binRoot.empty() ? std::nullopt : machine_.binFigures(binRoot);
  };
  const std::optional<BinFigures> before = bin();
  finishInterrupted(machine_, folders_);
  MemoryReserve reserve;
  const std::unique_ptr<JournalFile> journal = machine_.writeJournal(journalText(journalOf()));
  const ShellOutcome outcome = remove(intoBin);
  proof_.release();
  // What is gone is gone: from here on nothing may fail.
  try {
    withReserve(reserve, [&] { lookAfterwards(outcome, before, bin); });
    // What is out of reach gets its lines later, with all the others.
    const bool later = journal && std::any_of(result_.left.begin(), result_.left.end(),
                                              [](const auto& one) { return one.outOfReach; });
    withReserve(reserve, [&] { log(outcome, !later); });
    if (journal && !later) journal->remove();
  } catch (...) {
    result_ = DeleteResult{};
    result_.unknown = true;
  }
}

// An exception in the middle leaves what is not gone yet.
ShellOutcome Deletion::remove(bool intoBin) {
  try {
    return intoBin ? machine_.shellDelete(realPathList(), true) : removeAll();
  } catch (...) {
    return {kOutOfMemoryCode, false, true};
  }
}

std::vector<std::wstring> Deletion::realPathList() const {
  std::vector<std::wstring> paths;
  for (const Item& one : items_) paths.push_back(one.path.real);
  return paths;
}

ShellOutcome Deletion::removeAll() {
  std::vector<Doomed> doomed;
  for (const Item& one : items_) {
    const PathFacts& facts = one.verdict.facts;
    doomed.push_back({one.path.real,
                      {facts.folder, facts.reparsePoint, one.verdict.identity},
                      one.path.measure});
  }
  return removeForGood(machine_, folders_, doomed,
                       [this](const std::wstring& path, std::wstring_view name) {
                         return judge_.refusalOfFolder(path, name) == Refusal::none;
                       });
}

Journal Deletion::journalOf() const {
  Journal journal;
  journal.kind = request_.permanent ? JournalKind::permanent : JournalKind::binned;
  for (const Item& one : items_) {
    journal.entries.push_back({one.path.path, one.path.real, one.path.folder, one.path.measure});
  }
  return journal;
}

void Deletion::lookAfterwards(const ShellOutcome& outcome, const std::optional<BinFigures>& before,
                              const BinQuestion& bin) {
  DeleteResult now;
  for (const Item& item : items_) {
    now.wouldDelete.push_back(item.path);
    const std::wstring& real = item.path.real;
    const bool there = folders_.facts(real).exists;
    // The folder that it was in is held, so it is missing only if the drive or share is.
    if (!there && folders_.facts(parentOf(real)).exists) {
      now.deleted.push_back(item.path);
      now.bytes += item.path.measure.bytes;
      continue;
    }
    DeletedPath& one = now.left.emplace_back(item.path);
    one.outOfReach = !there;
    if (there && one.folder) one.lost = lossBetween(one.measure, measurePath(folders_, one.real));
    if (request_.wantWhy) {
      addStayed(machine_, folders_, one.real, one.folder, outcome.code, now.stayed);
    }
    now.bytes += one.lost.bytes;
  }
  const std::optional<BinFigures> after = bin();
  if (before && after) {
    const std::uint64_t more = after->bytes - std::min(after->bytes, before->bytes);
    now.binned = std::min(more, now.bytes);
  }
  now.refused = std::move(result_.refused);
  result_ = std::move(now);
}

Refusal Deletion::prove(const Paths& going, const Item& item) {
  const Expected& expected = item.expected;
  if (expected.unusable) return Refusal::changed;
  if (!expected.comparesContents()) return Refusal::none;
  if (!expected.keep.empty()) {
    // The copy that stays must not be deleted by the same request, under whatever name.
    const auto place = machine_.finalPlace(expected.keep);
    if (!place) return Refusal::changed;
    const std::wstring staying = lowerCase(place->path);
    if (going.contains(staying) || hasAncestorIn(going, staying)) return Refusal::changed;
  }
  return proof_.prove(item.verdict.real, expected) ? Refusal::none : Refusal::changed;
}

Refusal Deletion::measure(Item& item) {
  Refusal refusal = Refusal::none;
  item.path.measure = measurePath(
      folders_, item.path.real, [this, &refusal](const std::wstring& path, std::wstring_view name) {
        if (refusal == Refusal::none) refusal = judge_.refusalOfFolder(path, name);
      });
  if (refusal == Refusal::none && !request_.permanent &&
      isTooLongForShell(item.path.real, item.path.measure)) {
    refusal = Refusal::tooLong;
  }
  return refusal;
}

Refusal Deletion::judgeAgain(PathJudge& judge, Item& item) {
  const Verdict& before = item.verdict;
  const Verdict now = judge.judge(before.path);
  if (now.refusal == Refusal::missing) return now.refusal;
  if (now.refusal != Refusal::none || now.real != before.real || now.identity != before.identity ||
      now.facts.folder != before.facts.folder ||
      now.facts.reparsePoint != before.facts.reparsePoint || !held_.at(parentOf(before.real))) {
    return Refusal::ambiguous;
  }
  const Seen seen = seenNow(now.facts, item.path.measure, now.identity);
  const Expected& expected = item.expected;
  if (expected.comparesContents()) {
    return proof_.isStill(now.real, seen) ? Refusal::none : Refusal::changed;
  }
  return !expected.seen || *expected.seen == seen ? Refusal::none : Refusal::changed;
}

void Deletion::log(const ShellOutcome& outcome, bool eachPath) {
  DeletionMode mode = DeletionMode::binned;
  if (request_.permanent) {
    mode = DeletionMode::permanent;
  } else if (result_.binned == 0 && result_.bytes > 0) {
    mode = DeletionMode::binRefused;
  }
  std::string lines;
  if (eachPath) {
    for (const DeletedPath& one : result_.deleted) {
      lines += deletedLine(machine_.now(), {mode}, one.measure.bytes, one.path);
    }
    for (const DeletedPath& one : result_.left) {
      if (one.lost.any) {
        lines += deletedLine(machine_.now(), {mode, true}, one.lost.bytes, one.path);
      }
    }
  }
  if (outcome.outOfMemory) {
    result_.error = kNoMemory;
  } else if (outcome.aborted) {
    result_.error = kAborted;
  } else if (outcome.code != 0) {
    result_.error = std::string(kFailed) + std::to_string(outcome.code);
  }
  if (!result_.error.empty()) {
    lines += failedLine(machine_.now(), outcome.code, result_.left.size(),
                        result_.left.size() + result_.deleted.size());
  }
  if (!lines.empty()) result_.logged = machine_.appendToLog(lines);
}

} // namespace

DeleteResult deletePaths(Machine& machine, FolderSource& folders, FileKeeper& keeper,
                         const DeleteRequest& request) {
  return Deletion(machine, folders, keeper, request).run();
}

} // namespace vorda
