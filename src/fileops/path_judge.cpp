#include "fileops/path_judge.h"

#include "base/paths.h"
#include "base/text.h"
#include "rules/safety_rules.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

// Whether the system takes the path for a different one than it spells.
bool isReadDifferently(const Verdict& verdict, const std::wstring& full) {
  const auto parts = pathComponents(verdict.path);
  return !equalsIgnoreCase(verdict.path, full) ||
         std::any_of(parts.begin(), parts.end(), losesItsEnd);
}

} // namespace

bool hasStrayCharacters(std::wstring_view path) {
  for (std::size_t i = 0; i < path.size(); ++i) {
    const wchar_t unit = path[i];
    if (isHighSurrogate(unit) && i + 1 < path.size() && isLowSurrogate(path[i + 1])) {
      ++i;
      continue;
    }
    if (isHighSurrogate(unit) || isLowSurrogate(unit)) return true;
    // The page receives, and returns, a lone surrogate as U+FFFD. "<", ">" and the quotation
    // mark are wildcards to the file system, like "*" and "?".
    if (unit < 0x20 || unit == kReplacement || unit == L'<' || unit == L'>' || unit == L'"') {
      return true;
    }
    if (unit == L':' && i != 1) return true;
  }
  return false;
}

PathJudge::PathJudge(Machine& machine, FolderSource& folders, const std::wstring& root)
    : machine_(machine), folders_(folders), root_(root) {
  for (const KnownFolder& known : machine_.knownFolders()) {
    guard(known.path, known.refusal, known.recursive);
    const auto place = machine_.finalPlace(known.path);
    if (place && place->path != known.path) guard(place->path, known.refusal, known.recursive);
  }
  for (const std::wstring& volume : machine_.volumeRoots()) {
    for (const ProtectedPlace& place : protectedPlaces()) {
      const std::wstring path = joinPath(volume, place.place.substr(1));
      if (folders_.facts(path).exists) guard(path, place.refusal, place.recursive);
    }
  }
  if (root_.empty()) return;
  fullRoot_ = machine_.fullPath(root_);
  longRoot_ = machine_.longPath(fullRoot_).value_or(fullRoot_);
  if (const auto place = machine_.finalPlace(fullRoot_)) finalRoot_ = place->path;
}

void PathJudge::guard(const std::wstring& path, Refusal refusal, bool recursive) {
  guards_.push_back({path, machine_.identity(path), refusal, recursive});
  for (std::wstring at = parentOf(path); !at.empty(); at = parentOf(at)) {
    above_.push_back({at, machine_.identity(at), refusal, false});
  }
}

Verdict PathJudge::judge(std::wstring_view path) {
  Verdict verdict;
  verdict.path = normalisePath(path);
  verdict.refusal = deleteRefusal(path); // not normalised: remote paths begin with "/"
  if (verdict.refusal != Refusal::none) return verdict;
  if (!root_.empty() && !isInsideRoot(root_, verdict.path)) {
    verdict.refusal = Refusal::outside;
  } else if (hasStrayCharacters(verdict.path)) {
    verdict.refusal = Refusal::ambiguous; // and never passed to the system
  } else {
    verdict.refusal = judgeForms(verdict);
  }
  return verdict;
}

Refusal PathJudge::judgeForms(Verdict& verdict) {
  const std::wstring full = machine_.fullPath(verdict.path);
  if (const Refusal why = refusalOfForm(full, fullRoot_); why != Refusal::none) return why;
  const bool different = isReadDifferently(verdict, full);
  verdict.facts = folders_.facts(full);
  if (!verdict.facts.exists) return different ? Refusal::ambiguous : Refusal::missing;

  const std::optional<std::wstring> longForm = machine_.longPath(full);
  if (longForm) {
    if (const Refusal why = refusalOfForm(*longForm, longRoot_); why != Refusal::none) return why;
  }
  const std::wstring& named = longForm ? *longForm : full;
  const std::wstring_view name = lastName(named);
  const std::optional<FinalPlace>& parent = finalOf(parentOf(named));
  if (!parent) return Refusal::ambiguous;
  verdict.real = joinPath(parent->path, name);
  if (const Refusal why = refusalOfForm(verdict.real, finalRoot_); why != Refusal::none) return why;
  // A volume mounted in a folder has protected places of its own.
  if (isDriveLetterPath(verdict.real)) {
    const std::wstring onVolume = joinPath(L"C:" + parent->onVolume, name);
    if (const Refusal why = deleteRefusal(onVolume); why != Refusal::none) return why;
  }
  // Anything but a link has a final path of its own, in which 8.3 names are resolved as well.
  const auto own = verdict.facts.reparsePoint ? std::nullopt : machine_.finalPlace(full);
  if (own) {
    if (const Refusal why = refusalOfForm(own->path, finalRoot_); why != Refusal::none) return why;
  } else if (!longForm && name.find(L'~') != std::wstring_view::npos) {
    return Refusal::ambiguous;
  }
  verdict.identity = machine_.identity(full);
  if (const Refusal why = refusalOfPlace(verdict); why != Refusal::none) return why;
  return different ? Refusal::ambiguous : Refusal::none;
}

Refusal PathJudge::refusalOfForm(std::wstring_view form, const std::wstring& root) const {
  if (const Refusal why = deleteRefusal(form); why != Refusal::none) return why;
  for (const Guard& one : guards_) {
    if (equalsIgnoreCase(one.path, form) || isInsideRoot(form, one.path) ||
        (one.recursive && isInsideRoot(one.path, form))) {
      return one.refusal;
    }
    if (one.refusal == Refusal::allUsers && equalsIgnoreCase(one.path, parentOf(form))) {
      return Refusal::profile;
    }
  }
  return root_.empty() || isInsideRoot(root, form) ? Refusal::none : Refusal::outside;
}

// By identity: a share of this machine, for one, can lead to a guarded folder under any name.
Refusal PathJudge::refusalOfPlace(const Verdict& verdict) {
  if (verdict.identity) {
    for (const std::vector<Guard>* list : {&guards_, &above_}) {
      for (const Guard& one : *list) {
        if (one.identity == verdict.identity) return one.refusal;
      }
    }
  }
  const std::wstring parent = parentOf(verdict.real);
  if (const auto identity = machine_.identity(parent)) {
    for (const Guard& one : guards_) {
      if (one.refusal == Refusal::allUsers && one.identity == identity) return Refusal::profile;
    }
  }
  return refusalInside(parent);
}

Refusal PathJudge::refusalOfFolder(const std::wstring& path, std::wstring_view name) {
  for (const Guard& one : guards_) {
    if (!one.identity || !equalsIgnoreCase(lastName(one.path), name)) continue;
    if (one.identity == machine_.identity(path)) return one.refusal;
  }
  return Refusal::none;
}

Refusal PathJudge::refusalInside(const std::wstring& folder) {
  if (folder.empty()) return Refusal::none;
  const auto known = inside_.find(folder);
  if (known != inside_.end()) return known->second;
  Refusal refusal = Refusal::none;
  if (const auto identity = machine_.identity(folder)) {
    for (const Guard& one : guards_) {
      if (one.recursive && one.identity == identity) refusal = one.refusal;
    }
  }
  if (refusal == Refusal::none) refusal = refusalInside(parentOf(folder));
  return inside_.emplace(folder, refusal).first->second;
}

const std::optional<FinalPlace>& PathJudge::finalOf(const std::wstring& folder) {
  const auto known = finals_.find(folder);
  if (known != finals_.end()) return known->second;
  return finals_.emplace(folder, machine_.finalPlace(folder)).first->second;
}

std::wstring PathJudge::inTree(const std::wstring& real) const {
  if (!isInsideRoot(finalRoot_, real)) return {};
  std::wstring_view below = std::wstring_view(real).substr(finalRoot_.size());
  // Of a drive the root ends in it.
  if (below.starts_with(L'\\')) below.remove_prefix(1);
  return joinPath(root_, below);
}

} // namespace vorda
