#include "fileops/path_judge.h"

#include "base/paths.h"
#include "base/text.h"
#include "rules/safety_rules.h"

#include <algorithm>

namespace vorda {

namespace {

// What the shell's file operations take, without the ending NUL.
constexpr std::size_t kLongestForShell = 259;
constexpr wchar_t kReplacement = 0xFFFD;
// Nobody's own folder in the folder of all users goes either.
constexpr std::string_view kAllUsers = "allusers";
constexpr const char* kProfile = "profile";

bool isReadOtherwise(const Verdict& verdict, const std::wstring& full) {
  const auto parts = pathComponents(verdict.path);
  return !equalsIgnoreCase(verdict.path, full) ||
         std::any_of(parts.begin(), parts.end(), losesItsEnd);
}

} // namespace

bool hasStrayCharacters(std::wstring_view path) {
  if (path.size() > kLongestForShell) return true;
  for (std::size_t i = 0; i < path.size(); ++i) {
    const wchar_t unit = path[i];
    if (isHighSurrogate(unit) && i + 1 < path.size() && isLowSurrogate(path[i + 1])) {
      ++i;
      continue;
    }
    if (isHighSurrogate(unit) || isLowSurrogate(unit)) return true;
    // A name with a lone surrogate reaches the page, and comes back, as U+FFFD. The other
    // three are wildcards to the file system, whatever the rules about "*" and "?" say.
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
    guard(known.path, known.word, known.beneath);
    const auto place = machine_.finalPlace(known.path);
    if (place && place->path != known.path) guard(place->path, known.word, known.beneath);
  }
  for (const std::wstring& volume : machine_.volumeRoots()) {
    for (const ProtectedPlace& place : protectedPlaces()) {
      const std::wstring path = joinPath(volume, place.place.substr(1));
      if (folders_.facts(path).exists) guard(path, place.word, place.beneath);
    }
  }
  if (root_.empty()) return;
  fullRoot_ = machine_.fullPath(root_);
  longRoot_ = machine_.longPath(fullRoot_).value_or(fullRoot_);
  if (const auto place = machine_.finalPlace(fullRoot_)) finalRoot_ = place->path;
}

void PathJudge::guard(const std::wstring& path, const std::string& word, bool beneath) {
  guards_.push_back({path, machine_.identity(path), word, beneath});
  for (std::wstring at = parentOf(path); !at.empty(); at = parentOf(at)) {
    above_.push_back({at, machine_.identity(at), word, false});
  }
}

Verdict PathJudge::judge(std::wstring_view path) {
  Verdict verdict;
  verdict.path = normalisePath(path);
  verdict.word = deleteRefusal(path); // as it came: a remote path begins with "/"
  if (!verdict.word.empty()) return verdict;
  if (!root_.empty() && !isInsideRoot(root_, verdict.path)) {
    verdict.word = "outside";
  } else if (hasStrayCharacters(verdict.path)) {
    verdict.word = "ambiguous"; // and not shown to the system at all
  } else {
    verdict.word = judgeForms(verdict);
  }
  return verdict;
}

std::string PathJudge::judgeForms(Verdict& verdict) {
  const std::wstring full = machine_.fullPath(verdict.path);
  if (std::string word = refusalOfForm(full, fullRoot_); !word.empty()) return word;
  const bool otherwise = isReadOtherwise(verdict, full);
  verdict.facts = folders_.facts(full);
  if (!verdict.facts.exists) return otherwise ? "ambiguous" : "missing";

  const std::optional<std::wstring> longForm = machine_.longPath(full);
  if (longForm) {
    if (std::string word = refusalOfForm(*longForm, longRoot_); !word.empty()) return word;
  }
  const std::wstring& named = longForm ? *longForm : full;
  const std::wstring_view name = lastName(named);
  const std::optional<FinalPlace>& parent = finalOf(parentOf(named));
  if (!parent) return "ambiguous";
  verdict.real = joinPath(parent->path, name);
  if (verdict.real.size() > kLongestForShell) return "ambiguous";
  if (std::string word = refusalOfForm(verdict.real, finalRoot_); !word.empty()) return word;
  // A volume mounted in a folder has its own Windows folder, its own users and so on.
  if (isDriveLetterPath(verdict.real)) {
    const std::wstring onVolume = joinPath(L"C:" + parent->onVolume, name);
    if (std::string word = deleteRefusal(onVolume); !word.empty()) return word;
  }
  // What is no link can be asked for its own place, which also resolves its short alias.
  const auto own = verdict.facts.reparsePoint ? std::nullopt : machine_.finalPlace(full);
  if (own) {
    if (std::string word = refusalOfForm(own->path, finalRoot_); !word.empty()) return word;
  } else if (!longForm && name.find(L'~') != std::wstring_view::npos) {
    return "ambiguous";
  }
  verdict.identity = machine_.identity(full);
  if (std::string word = refusalOfPlace(verdict); !word.empty()) return word;
  return otherwise ? "ambiguous" : "";
}

std::string PathJudge::refusalOfForm(std::wstring_view form, const std::wstring& root) const {
  if (std::string word = deleteRefusal(form); !word.empty()) return word;
  for (const Guard& one : guards_) {
    if (equalsIgnoreCase(one.path, form) || isInsideRoot(form, one.path) ||
        (one.beneath && isInsideRoot(one.path, form))) {
      return one.word;
    }
    if (one.word == kAllUsers && equalsIgnoreCase(one.path, parentOf(form))) {
      return kProfile;
    }
  }
  return root_.empty() || (!root.empty() && isInsideRoot(root, form)) ? "" : "outside";
}

// By identity, since a share of this machine, say, leads to a guarded folder under a name
// that gives nothing away.
std::string PathJudge::refusalOfPlace(const Verdict& verdict) {
  if (verdict.identity) {
    for (const std::vector<Guard>* list : {&guards_, &above_}) {
      for (const Guard& one : *list) {
        if (one.identity == verdict.identity) return one.word;
      }
    }
  }
  const std::wstring parent = parentOf(verdict.real);
  if (const auto identity = machine_.identity(parent)) {
    for (const Guard& one : guards_) {
      if (one.word == kAllUsers && one.identity == identity) return kProfile;
    }
  }
  return wordAround(parent);
}

std::string PathJudge::wordOfFolder(const std::wstring& path, std::wstring_view name) {
  for (const Guard& one : guards_) {
    if (!one.identity || !equalsIgnoreCase(lastName(one.path), name)) continue;
    if (one.identity == machine_.identity(path)) return one.word;
  }
  return {};
}

const std::string& PathJudge::wordAround(const std::wstring& folder) {
  static const std::string none;
  if (folder.empty()) return none;
  const auto known = words_.find(folder);
  if (known != words_.end()) return known->second;
  std::string word;
  if (const auto identity = machine_.identity(folder)) {
    for (const Guard& one : guards_) {
      if (one.beneath && one.identity == identity) word = one.word;
    }
  }
  if (word.empty()) word = wordAround(parentOf(folder));
  return words_.emplace(folder, std::move(word)).first->second;
}

const std::optional<FinalPlace>& PathJudge::finalOf(const std::wstring& folder) {
  const auto known = finals_.find(folder);
  if (known != finals_.end()) return known->second;
  return finals_.emplace(folder, machine_.finalPlace(folder)).first->second;
}

std::wstring PathJudge::inTree(const std::wstring& real) const {
  if (finalRoot_.empty() || !isInsideRoot(finalRoot_, real)) return {};
  std::size_t from = finalRoot_.size();
  while (from < real.size() && real[from] == L'\\') ++from;
  return joinPath(root_, real.substr(from));
}

} // namespace vorda
