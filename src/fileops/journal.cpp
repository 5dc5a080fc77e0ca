#include "fileops/journal.h"

#include "base/paths.h"
#include "base/text.h"
#include "fileops/deletion_log.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>

namespace vorda {

namespace {

// Lines of fields: the format and the kind; one line for each entry; the end.
constexpr std::string_view kFormat = "vorda-journal-1";
constexpr std::string_view kEnd = "end";
constexpr std::array<std::string_view, 3> kKinds = {"permanent", "binned", "cleanup"};
constexpr std::string_view kFolder = "folder";
constexpr std::string_view kOther = "other"; // a file or a link
constexpr char kLineEnd = '\n';
constexpr char kFieldEnd = '\t';
constexpr std::size_t kHeadFields = 3;
constexpr std::size_t kEntryFields = 7;

// The text up to the separator, which is taken out as well; nothing if there is none.
std::optional<std::string_view> takeUntil(std::string_view& text, char separator) {
  const std::size_t end = text.find(separator);
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view taken = text.substr(0, end);
  text.remove_prefix(end + 1);
  return taken;
}

std::vector<std::string_view> fieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  while (const auto field = takeUntil(line, kFieldEnd)) fields.push_back(*field);
  fields.push_back(line);
  return fields;
}

bool readNumber(std::string_view digits, std::uint64_t& number) {
  const char* end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, number);
  return parsed.ec == std::errc() && parsed.ptr == end;
}

std::optional<JournalEntry> entryOf(std::string_view line) {
  const std::vector<std::string_view> fields = fieldsOf(line);
  if (fields.size() != kEntryFields || (fields[0] != kFolder && fields[0] != kOther)) return {};
  JournalEntry entry;
  entry.folder = fields[0] == kFolder;
  PathMeasure& measure = entry.measure;
  if (!readNumber(fields[1], measure.bytes) || !readNumber(fields[2], measure.files) ||
      !readNumber(fields[3], measure.folders) || !readNumber(fields[4], measure.links)) {
    return std::nullopt;
  }
  entry.path = toUtf16(fields[5]);
  entry.real = toUtf16(fields[6]);
  return entry;
}

// Whether nothing can be said about an entry now: its drive or share is not there.
bool isOutOfReach(FolderSource& folders, const Journal& journal) {
  std::set<std::wstring> roots;
  for (const JournalEntry& one : journal.entries) roots.insert(placeRoot(one.real));
  return std::any_of(roots.begin(), roots.end(),
                     [&folders](const std::wstring& root) { return !folders.facts(root).exists; });
}

std::string linesOf(Machine& machine, FolderSource& folders, const Journal& journal) {
  const bool cleanup = journal.kind == JournalKind::cleanup;
  const DeletionMode mode =
      journal.kind == JournalKind::binned ? DeletionMode::binned : DeletionMode::permanent;
  std::string lines;
  std::uint64_t bytes = 0;
  std::uint64_t gone = 0;
  for (const JournalEntry& one : journal.entries) {
    const bool there = folders.facts(one.real).exists;
    const Loss loss =
        there && !one.folder ? Loss{} : lossBetween(one.measure, measurePath(folders, one.real));
    bytes += loss.bytes;
    gone += there ? 0 : 1;
    if (cleanup || (there && !loss.any)) continue;
    lines += deletedLine(machine.now(), {mode, there, true}, loss.bytes, one.path);
  }
  if (cleanup) {
    lines = cleanedLine(machine.now(), {true, bytes, gone, journal.entries.size() - gone},
                        journal.cleaned);
  }
  return lines;
}

} // namespace

std::string journalText(const Journal& journal) {
  std::string text(kFormat);
  text.append(1, kFieldEnd).append(kKinds[static_cast<std::size_t>(journal.kind)]);
  text.push_back(kFieldEnd);
  appendUtf8(text, journal.cleaned);
  text.push_back(kLineEnd);
  for (const JournalEntry& one : journal.entries) {
    text.append(one.folder ? kFolder : kOther);
    for (const std::uint64_t number :
         {one.measure.bytes, one.measure.files, one.measure.folders, one.measure.links}) {
      text.append(1, kFieldEnd).append(std::to_string(number));
    }
    for (const std::wstring* path : {&one.path, &one.real}) {
      text.push_back(kFieldEnd);
      appendUtf8(text, *path);
    }
    text.push_back(kLineEnd);
  }
  return text.append(kEnd).append(1, kLineEnd);
}

std::optional<Journal> parseJournal(std::string_view text) {
  const auto head = takeUntil(text, kLineEnd);
  if (!head) return std::nullopt;
  const std::vector<std::string_view> fields = fieldsOf(*head);
  if (fields.size() != kHeadFields || fields[0] != kFormat) return std::nullopt;
  const auto kind = std::find(kKinds.begin(), kKinds.end(), fields[1]);
  if (kind == kKinds.end()) return std::nullopt;
  Journal journal;
  journal.kind = static_cast<JournalKind>(kind - kKinds.begin());
  journal.cleaned = toUtf16(fields[2]);
  while (const auto line = takeUntil(text, kLineEnd)) {
    if (*line == kEnd) return text.empty() ? std::optional(journal) : std::nullopt;
    std::optional<JournalEntry> entry = entryOf(*line);
    if (!entry) return std::nullopt;
    journal.entries.push_back(std::move(*entry));
  }
  return std::nullopt;
}

void finishInterrupted(Machine& machine, FolderSource& folders) {
  for (FoundJournal& found : machine.abandonedJournals()) {
    const std::optional<Journal> journal = parseJournal(found.bytes);
    if (journal) {
      if (isOutOfReach(folders, *journal)) continue;
      const std::string lines = linesOf(machine, folders, *journal);
      if (!lines.empty() && !machine.appendToLog(lines)) continue;
    }
    found.file->remove();
  }
}

} // namespace vorda
