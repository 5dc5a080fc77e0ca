// What the file operations need from the system they run on.
//
// All decisions are made by the callers of this interface, so that they can be tested without
// Windows; each function is little more than one system call. Thread-safe.
#pragma once

#include "base/file_identity.h"
#include "base/time.h"
#include "rules/refusal.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// The final path of an opened file or folder.
struct FinalPlace {
  std::wstring path;     // "X:\…" or "\\server\share\…"; without links and substituted drives
  std::wstring onVolume; // relative to the root of its volume, with a leading "\"; may be empty
};

// A folder that Windows needs, wherever it was moved to.
struct KnownFolder {
  std::wstring path;
  Refusal refusal = Refusal::none;
  bool recursive = false; // everything inside is protected as well
};

struct ShellOutcome {
  int code = 0; // 0 for success
  bool aborted = false;
  bool outOfMemory = false; // of this process
};

// The system's code for that.
inline constexpr int kOutOfMemoryCode = 8;

struct BinFigures {
  std::uint64_t bytes = 0;
  std::uint64_t items = 0;
};

// What an entry of a folder is known to be.
struct EntryFacts {
  bool folder = false;
  bool link = false;                    // a reparse point of any kind
  std::optional<FileIdentity> identity; // if known
};

// The system's code when an entry is not, or not where, it is expected to be: its name could not
// be resolved.
inline constexpr int kNotAsExpected = 1921;

// A journal on the disk. Without remove() it stays there when the object is gone.
class JournalFile {
public:
  virtual ~JournalFile() = default;
  virtual void remove() = 0;
};

struct FoundJournal {
  std::string bytes;
  std::unique_ptr<JournalFile> file;
};

struct LogEnd {
  std::string bytes;
  bool whole = true; // there is nothing before it
};

class Machine {
public:
  virtual ~Machine() = default;

  // The path as the system reads it: "." and ".." resolved, trailing spaces and dots of names
  // removed, device names recognised. Returns the path unchanged on failure.
  virtual std::wstring fullPath(const std::wstring& path) = 0;

  // The path with every 8.3 name replaced by the long name; nothing on failure.
  virtual std::optional<std::wstring> longPath(const std::wstring& path) = 0;

  // The final path of what the path opens, links followed; nothing if it cannot be opened.
  virtual std::optional<FinalPlace> finalPlace(const std::wstring& path) = 0;

  // The identity of the file or folder, or of the link itself; nothing if it is unknown.
  virtual std::optional<FileIdentity> identity(const std::wstring& path) = 0;

  // Keeps a folder from being renamed, moved or replaced during the lifetime of the result.
  // Null if it cannot be opened.
  virtual std::shared_ptr<void> hold(const std::wstring& folder) = 0;

  // The same, but null as well if it is a link, or if its final path is another one.
  virtual std::shared_ptr<void> holdExactly(const std::wstring& folder) = 0;

  virtual std::vector<KnownFolder> knownFolders() = 0;

  // The root of the system drive and all folders in which volumes are mounted.
  virtual std::vector<std::wstring> volumeRoots() = 0;

  // Whether the drive or share with this root has a recycle bin.
  virtual bool hasBin(const std::wstring& root) = 0;

  // The contents of the bin of a drive ("X:\"), or of all bins for an empty root.
  virtual std::optional<BinFigures> binFigures(const std::wstring& root) = 0;

  // Empties the bins of all drives. Returns the shell's HRESULT, negative on failure.
  virtual std::int32_t emptyBins() = 0;

  // The user's SID as text, which is the name of the user's folder in each bin; empty on
  // failure.
  virtual std::wstring userSid() = 0;

  // Passes all paths to the shell in one call. They must be absolute and at most 259 UTF-16
  // units long.
  virtual ShellOutcome shellDelete(const std::vector<std::wstring>& paths, bool intoBin) = 0;

  // Deletes a file, a link or an empty folder for good, whatever the length of its path and
  // whatever its name; a link is never followed. Leaves what is not as expected, or has another
  // final path. Returns 0 or the system's code.
  virtual int removeEntry(const std::wstring& path, const EntryFacts& expected) = 0;

  // Appends records to the deletion log; false if they could not be written.
  virtual bool appendToLog(std::string_view bytes) = 0;

  // The end of the deletion log, at most this many bytes; nothing if it cannot be read.
  virtual std::optional<LogEnd> endOfLog(std::size_t mostBytes) = 0;

  // The system's code when it refuses to open something for deletion, or for writing, as it does with
  // a program that runs; else 0. Changes nothing; a link is not followed.
  virtual int deletionProblem(const std::wstring& path, bool folder) = 0;

  // Writes a journal beside the log; it is on the disk when this returns. Null on failure.
  virtual std::unique_ptr<JournalFile> writeJournal(std::string_view bytes) = 0;

  // The journals that no running process is writing to.
  virtual std::vector<FoundJournal> abandonedJournals() = 0;

  virtual LocalTime now() = 0;
};

// The system this process runs on.
std::unique_ptr<Machine> systemMachine();

} // namespace vorda
