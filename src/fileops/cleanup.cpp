#include "fileops/cleanup.h"

#include "base/out_of_memory.h"
#include "base/paths.h"
#include "base/text.h"
#include "fileops/deletion_log.h"
#include "fileops/journal.h"
#include "fileops/path_judge.h"
#include "fileops/remove_tree.h"
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

struct Entry {
  Doomed doomed;
  bool done = false; // the shell reported success
};

// Those that may be passed to the shell; the others are left alone.
std::vector<Entry> entriesOf(Machine& machine, FolderSource& folders, const std::wstring& folder,
                             const std::vector<std::wstring>& names) {
  std::vector<Entry> entries;
  for (const std::wstring& name : names) {
    const std::wstring path = joinPath(folder, name);
    if (!isReadAsSpelled(machine, path)) continue;
    const PathFacts facts = folders.facts(path);
    const EntryFacts known = {facts.folder, facts.reparsePoint, machine.identity(path)};
    entries.push_back({{path, known, measurePath(folders, path)}});
  }
  return entries;
}

Journal journalOf(const std::wstring& path, const std::vector<Entry>& entries) {
  Journal journal = {JournalKind::cleanup, path, {}};
  for (const Entry& one : entries) {
    const Doomed& doomed = one.doomed;
    journal.entries.push_back(
        {doomed.real, doomed.real, doomed.facts.folder && !doomed.facts.link, doomed.measure});
  }
  return journal;
}

// False if memory ran out meanwhile.
bool removeAll(Machine& machine, FolderSource& folders, std::vector<Entry>& entries) {
  const auto anyFolder = [](const std::wstring&, std::wstring_view) { return true; };
  try {
    for (Entry& one : entries) {
      const ShellOutcome outcome = removeForGood(machine, folders, {one.doomed}, anyFolder);
      one.done = outcome.code == 0 && !outcome.aborted;
    }
  } catch (...) {
    return false;
  }
  return true;
}

// A folder that may be emptied, held so that it cannot be replaced.
struct Opened {
  std::wstring folder;
  std::shared_ptr<void> held;
  std::vector<std::wstring> names;
  CleanupFailure failure = CleanupFailure::none;
};

void countRemoved(FolderSource& folders, const std::vector<Entry>& entries, const Opened& opened,
                  CleanupResult& result) {
  std::uint32_t deleted = 0;
  std::uint64_t bytes = 0;
  for (const Entry& one : entries) {
    const Doomed& doomed = one.doomed;
    // The shell may report success for a file in use.
    if (one.done && !folders.facts(doomed.real).exists) ++deleted;
    // A folder with a file in use goes except for that file.
    bytes += lossBetween(doomed.measure, measurePath(folders, doomed.real)).bytes;
  }
  // The folder is held, so it is missing only if its drive or share is.
  result.outOfReach = !folders.facts(opened.folder).exists;
  if (result.outOfReach) deleted = 0;
  result.deleted = deleted;
  result.skipped = static_cast<std::uint32_t>(opened.names.size()) - deleted; // or left alone
  result.bytes = result.outOfReach ? 0 : bytes;
}

Opened openFolder(Machine& machine, FolderSource& folders, const std::wstring& path) {
  Opened opened = {normalisePath(path), {}, {}, CleanupFailure::none};
  const std::wstring& folder = opened.folder;
  if (!isCleanableFolder(folder) || !isPlainAbsolute(folder)) {
    opened.failure = CleanupFailure::notAllowed;
    return opened;
  }
  // Hold before checking, so that the folder cannot be replaced afterwards.
  opened.held = machine.hold(folder);
  const bool there = folders.facts(folder).exists;
  if (there && !isReachedDirectly(machine, folders, folder)) {
    opened.failure = CleanupFailure::notAllowed;
  } else if (!there || !opened.held || !listNames(folders, folder, opened.names)) {
    opened.failure = CleanupFailure::unreadable;
  }
  return opened;
}

} // namespace

bool isCleanableFolder(std::wstring_view path) {
  const std::wstring normal = normalisePath(path);
  return std::any_of(kCleanable.begin(), kCleanable.end(),
                     [&normal](std::wstring_view one) { return endsWithIgnoreCase(normal, one); });
}

CleanupPreview previewCleanup(Machine& machine, FolderSource& folders, const std::wstring& path) {
  CleanupPreview preview;
  const Opened opened = openFolder(machine, folders, path);
  preview.failure = opened.failure;
  if (preview.failure != CleanupFailure::none) return preview;
  preview.entries = opened.names.size();
  preview.measure = measurePath(folders, opened.folder);
  return preview;
}

CleanupResult cleanFolder(Machine& machine, FolderSource& folders, const std::wstring& path) {
  CleanupResult result;
  const Opened opened = openFolder(machine, folders, path);
  result.failure = opened.failure;
  if (result.failure != CleanupFailure::none) return result;

  result.before = measurePath(folders, opened.folder);
  finishInterrupted(machine, folders);
  std::vector<Entry> entries = entriesOf(machine, folders, opened.folder, opened.names);
  MemoryReserve reserve;
  const std::unique_ptr<JournalFile> journal =
      machine.writeJournal(journalText(journalOf(path, entries)));
  result.outOfMemory = !removeAll(machine, folders, entries);
  // What is gone is gone: from here on nothing may fail.
  try {
    withReserve(reserve, [&] { countRemoved(folders, entries, opened, result); });
    if (result.outOfReach && journal) return result; // the line is written when it is back
    withReserve(reserve, [&] {
      result.logged = machine.appendToLog(
          cleanedLine(machine.now(), {false, result.bytes, result.deleted, result.skipped}, path));
    });
    if (journal) journal->remove();
  } catch (...) {
    result.outOfMemory = true; // the line is written later, from the journal
  }
  return result;
}

} // namespace vorda
