// The journal of a file operation: what is about to go, written before the first of it goes and
// removed after the last line is in the deletion log. One that is found later belongs to an
// operation that was interrupted; what is gone by then still gets its lines.
#pragma once

#include "fileops/machine.h"
#include "fileops/measure.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

struct JournalEntry {
  std::wstring path; // as in the log
  std::wstring real; // where it lies
  bool folder = false;
  PathMeasure measure; // without mark and types
};

enum class JournalKind { permanent, binned, cleanup };

struct Journal {
  JournalKind kind = JournalKind::permanent;
  std::wstring cleaned; // the folder that is emptied; for a cleanup only
  std::vector<JournalEntry> entries;
};

// No path in it contains control characters or lone surrogates.
std::string journalText(const Journal& journal);

// Nothing if the text is malformed or incomplete: then nothing had gone yet.
std::optional<Journal> parseJournal(std::string_view text);

// Writes the lines of all operations that were interrupted and removes their journals. Leaves
// those of running ones, and those whose drive or share is not there now.
void finishInterrupted(Machine& machine, FolderSource& folders);

} // namespace vorda
