#include "fileops/delete.h"

#include "base/paths.h"
#include "base/text.h"
#include "fileops/deletion_log.h"
#include "fileops/path_judge.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace vorda {

namespace {

constexpr std::string_view kAborted = "aborted";
constexpr std::string_view kFailed = "failed:"; // the shell's code follows

using Paths = std::set<std::wstring>;

bool hasAncestorIn(const Paths& paths, const std::wstring& lower) {
  for (std::size_t at = lower.find(L'\\', 1); at != std::wstring::npos;
       at = lower.find(L'\\', at + 1)) {
    const std::wstring ancestor = lower.substr(0, at);
    const bool drive = ancestor.size() == 2 && isDriveLetterPath(ancestor);
    if (paths.contains(drive ? ancestor + L'\\' : ancestor)) return true;
  }
  return false;
}

// Drops paths inside other paths of the list, and duplicates. Both the requested and the
// resolved paths are compared, so that two spellings of one path are deleted once.
std::vector<Verdict> pruned(std::vector<Verdict> accepted) {
  Paths spelled;
  Paths real;
  for (const Verdict& one : accepted) {
    spelled.insert(lowerCase(one.path));
    real.insert(lowerCase(one.real));
  }
  Paths taken;
  std::vector<Verdict> remaining;
  for (Verdict& one : accepted) {
    const std::wstring place = lowerCase(one.real);
    if (hasAncestorIn(spelled, lowerCase(one.path)) || hasAncestorIn(real, place)) continue;
    if (taken.insert(place).second) remaining.push_back(std::move(one));
  }
  return remaining;
}

// "X:\" or "\\server\share".
std::wstring placeRoot(const std::wstring& path) {
  std::wstring at = path;
  for (std::wstring above = parentOf(at); !above.empty(); above = parentOf(at)) at = above;
  return at;
}

class Deletion {
public:
  Deletion(Machine& machine, FolderSource& folders, const DeleteRequest& request)
      : machine_(machine), folders_(folders), request_(request),
        judge_(machine, folders, request.root) {}

  DeleteResult run();

private:
  void preview();
  void execute();
  void measure();
  void judgeAgain();
  void log(const ShellOutcome& outcome);

  Machine& machine_;
  FolderSource& folders_;
  const DeleteRequest& request_;
  PathJudge judge_;
  std::vector<Verdict> accepted_;
  std::vector<DeletedPath> planned_; // one per accepted path
  DeleteResult result_;
};

DeleteResult Deletion::run() {
  for (const std::wstring& path : request_.paths) {
    Verdict verdict = judge_.judge(path);
    if (verdict.refusal == Refusal::none) {
      accepted_.push_back(std::move(verdict));
    } else {
      result_.refused.push_back({std::move(verdict.path), verdict.refusal});
    }
  }
  accepted_ = pruned(std::move(accepted_));
  for (const Verdict& one : accepted_) {
    planned_.push_back({one.path,
                        one.real,
                        request_.root.empty() ? std::wstring() : judge_.inTree(one.real),
                        one.facts.folder && !one.facts.reparsePoint,
                        {},
                        {}});
  }
  if (request_.dryRun) {
    preview();
  } else if (!accepted_.empty()) {
    execute();
  }
  return std::move(result_);
}

void Deletion::preview() {
  std::map<std::wstring, bool> bins;
  const auto hasBin = [this, &bins](const std::wstring& path) {
    const std::wstring root = placeRoot(path);
    const auto known = bins.find(root);
    return known != bins.end() ? known->second
                               : bins.emplace(root, machine_.hasBin(root)).first->second;
  };
  for (const Verdict& one : accepted_) {
    if (!one.facts.folder && !one.facts.reparsePoint) result_.bytes += one.facts.size;
    if (!request_.permanent && !(hasBin(one.path) && hasBin(one.real))) {
      result_.noBin.push_back(one.path);
    }
  }
  result_.wouldDelete = std::move(planned_);
}

void Deletion::execute() {
  // While the parent folders are held open, none of them can be replaced by a link, so the
  // shell finds what was judged last.
  std::map<std::wstring, std::shared_ptr<void>> held;
  for (const Verdict& one : accepted_) {
    const std::wstring folder = parentOf(one.real);
    if (!held.contains(folder)) held.emplace(folder, machine_.hold(folder));
  }
  measure();
  judgeAgain();
  if (planned_.empty()) return;

  const bool intoBin = !request_.permanent;
  const std::wstring& first = planned_.front().real;
  const std::wstring binRoot =
      intoBin && isDriveLetterPath(first) ? first.substr(0, 3) : std::wstring();
  std::vector<std::wstring> paths;
  for (const DeletedPath& one : planned_) paths.push_back(one.real);
  const auto bin = [this, &binRoot] {
    return binRoot.empty() ? std::nullopt : machine_.binFigures(binRoot);
  };
  const std::optional<BinFigures> before = bin();
  const ShellOutcome outcome = machine_.shellDelete(paths, intoBin);
  const std::optional<BinFigures> after = bin();

  result_.wouldDelete = planned_;
  for (DeletedPath& one : planned_) {
    if (folders_.facts(one.real).exists) {
      if (one.folder) one.lost = lossBetween(one.measure, measurePath(folders_, one.real));
      result_.bytes += one.lost.bytes;
      result_.left.push_back(std::move(one));
    } else {
      result_.bytes += one.measure.bytes;
      result_.deleted.push_back(std::move(one));
    }
  }
  if (before && after && after->bytes > before->bytes) {
    result_.binned = std::min(after->bytes - before->bytes, result_.bytes);
  }
  log(outcome);
}

void Deletion::measure() {
  for (std::size_t i = 0; i < planned_.size(); ++i) {
    Refusal& refusal = accepted_[i].refusal;
    planned_[i].measure =
        measurePath(folders_, planned_[i].real,
                    [this, &refusal](const std::wstring& path, std::wstring_view name) {
                      if (refusal == Refusal::none) refusal = judge_.refusalOfFolder(path, name);
                    });
  }
}

void Deletion::judgeAgain() {
  PathJudge judge(machine_, folders_, request_.root);
  std::vector<DeletedPath> same;
  for (std::size_t i = 0; i < planned_.size(); ++i) {
    const Verdict& before = accepted_[i];
    const Verdict now = judge.judge(before.path);
    if (before.refusal != Refusal::none) {
      result_.refused.push_back({before.path, before.refusal});
    } else if (now.refusal == Refusal::missing) {
      result_.refused.push_back({before.path, now.refusal});
    } else if (now.refusal != Refusal::none || now.real != before.real ||
               now.identity != before.identity || now.facts.folder != before.facts.folder ||
               now.facts.reparsePoint != before.facts.reparsePoint) {
      result_.refused.push_back({before.path, Refusal::ambiguous});
    } else {
      same.push_back(std::move(planned_[i]));
    }
  }
  planned_ = std::move(same);
}

void Deletion::log(const ShellOutcome& outcome) {
  DeletionMode mode = DeletionMode::binned;
  if (request_.permanent) {
    mode = DeletionMode::permanent;
  } else if (result_.binned == 0 && result_.bytes > 0) {
    mode = DeletionMode::binRefused;
  }
  for (const DeletedPath& one : result_.deleted) {
    machine_.appendToLog(
        deletedLine(machine_.now(), mode, Extent::whole, one.measure.bytes, one.path));
  }
  for (const DeletedPath& one : result_.left) {
    if (!one.lost.any) continue;
    machine_.appendToLog(deletedLine(machine_.now(), mode, Extent::part, one.lost.bytes, one.path));
  }
  if (outcome.aborted) {
    result_.error = kAborted;
  } else if (outcome.code != 0) {
    result_.error = std::string(kFailed) + std::to_string(outcome.code);
  }
  if (result_.error.empty()) return;
  machine_.appendToLog(failedLine(machine_.now(), outcome.code, result_.left.size(),
                                  result_.left.size() + result_.deleted.size()));
}

} // namespace

DeleteResult deletePaths(Machine& machine, FolderSource& folders, const DeleteRequest& request) {
  return Deletion(machine, folders, request).run();
}

} // namespace vorda
