// Reads the deletion log back. Anything may have written to the file, so what does not look like a
// record is passed on as the text it is.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

enum class LogKind {
  permanent,
  binned,
  binRefused, // meant for the recycle bin, but deleted permanently
  failed,     // the operation; some of its paths are still there
  cleaned,    // a folder was emptied
  other,      // no record
};

// The word for a kind in documents.
std::string_view wordOf(LogKind kind);

struct LogEntry {
  LogKind kind = LogKind::other;
  std::string at; // "YYYY-MM-DD hh:mm:ss" of the machine
  bool partly = false;
  bool interrupted = false;
  std::uint64_t bytes = 0;
  std::string path;          // UTF-8; of another line its text
  std::uint64_t code = 0;    // of a failure; 0 if it was aborted
  std::uint64_t left = 0;    // paths that are still there after a failure
  std::uint64_t paths = 0;   // of how many
  std::uint64_t deleted = 0; // entries of an emptied folder
  std::uint64_t skipped = 0;
};

// One line without its end.
LogEntry logEntryOf(std::string_view line);

// The last lines of the text, newest first, at most this many. Sets more if there are others before.
std::vector<LogEntry> newestEntries(std::string_view text, std::size_t most, bool& more);

} // namespace vorda
