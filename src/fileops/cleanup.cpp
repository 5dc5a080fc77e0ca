#include "fileops/cleanup.h"

#include "base/paths.h"
#include "base/text.h"
#include "fileops/deletion_log.h"
#include "fileops/path_judge.h"
#include "rules/safety_rules.h"

#include <algorithm>
#include <array>

namespace vorda {

namespace {

constexpr std::array<std::wstring_view, 3> kCleanable = {
    L"\\windows\\temp", L"\\appdata\\local\\temp", L"\\softwaredistribution\\download"};

// Whether no link leads to the folder. The drive may be a substituted one.
bool isReachedDirectly(Machine& machine, FolderSource& folders, const std::wstring& path) {
  const PathFacts facts = folders.facts(path);
  const auto place = machine.finalPlace(path);
  if (!facts.folder || facts.reparsePoint || !place) return false;
  const std::wstring named = machine.longPath(path).value_or(path);
  return endsWithIgnoreCase(place->path, std::wstring_view(named).substr(2));
}

// Adds the names of all entries; false if the folder cannot be opened.
bool listNames(FolderSource& folders, const std::wstring& path, std::vector<std::wstring>& names) {
  const std::unique_ptr<FolderReader> reader = folders.reader();
  if (!reader->open(path, false)) return false;
  FolderItem item;
  while (reader->next(item)) names.emplace_back(item.name);
  return true;
}

// Whether the shell would take the path for this entry. It is possible to create an entry
// named ".. ", for example, which the shell would read as the parent folder.
bool isReadAsSpelled(Machine& machine, const std::wstring& entry) {
  return !hasStrayCharacters(entry) && entry.find_first_of(L"*?") == std::wstring::npos &&
         equalsIgnoreCase(machine.fullPath(entry), entry);
}

} // namespace

bool isCleanableFolder(std::wstring_view path) {
  const std::wstring normal = normalisePath(path);
  return std::any_of(kCleanable.begin(), kCleanable.end(),
                     [&normal](std::wstring_view one) { return endsWithIgnoreCase(normal, one); });
}

CleanupResult cleanFolder(Machine& machine, FolderSource& folders, const std::wstring& path) {
  CleanupResult result;
  const std::wstring folder = normalisePath(path);
  if (!isCleanableFolder(folder) || !isPlainAbsolute(folder)) {
    result.failure = CleanupFailure::notAllowed;
    return result;
  }
  // Hold before checking, so that the folder cannot be replaced afterwards.
  const std::shared_ptr<void> held = machine.hold(folder);
  std::vector<std::wstring> names;
  const bool there = folders.facts(folder).exists;
  if (there && !isReachedDirectly(machine, folders, folder)) {
    result.failure = CleanupFailure::notAllowed;
  } else if (!there || !listNames(folders, folder, names)) {
    result.failure = CleanupFailure::unreadable;
  }
  if (result.failure != CleanupFailure::none) return result;

  result.before = measurePath(folders, folder);
  for (const std::wstring& name : names) {
    const std::wstring entry = joinPath(folder, name);
    const bool plain = isReadAsSpelled(machine, entry);
    const PathMeasure measure = plain ? measurePath(folders, entry) : PathMeasure{};
    const ShellOutcome outcome =
        plain ? machine.shellDelete({entry}, false) : ShellOutcome{0, true};
    // The shell may report success for a file in use.
    if (outcome.code == 0 && !outcome.aborted && !folders.facts(entry).exists) {
      ++result.deleted;
      result.bytes += measure.bytes;
    } else {
      ++result.skipped;
      // A folder with a file in use goes except for that file.
      if (plain) result.bytes += lossBetween(measure, measurePath(folders, entry)).bytes;
    }
  }
  machine.appendToLog(
      cleanedLine(machine.now(), result.bytes, path, result.deleted, result.skipped));
  return result;
}

} // namespace vorda
