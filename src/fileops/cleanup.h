// Emptying folders that contain only temporary files or downloaded updates.
#pragma once

#include "fileops/machine.h"
#include "fileops/measure.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

// Whether a folder may be emptied, judging by the end of its path.
bool isCleanableFolder(std::wstring_view path);

enum class CleanupFailure {
  none,
  notAllowed, // not such a folder, or reached through a link
  unreadable, // missing, or it cannot be listed, or held so that nobody replaces it
};

struct CleanupResult {
  std::uint32_t deleted = 0; // entries
  std::uint32_t skipped = 0; // entries that are still there, mostly because they are in use
  std::uint64_t bytes = 0;   // of the deleted entries, and of what went from inside skipped ones
  bool logged = true;        // false if the log could not be written
  bool outOfMemory = false;  // meanwhile: not all was tried, or the figures are not known
  bool outOfReach = false;   // its drive is not there any more: nobody knows what went
  CleanupFailure failure = CleanupFailure::none;
  PathMeasure before; // of the whole folder
};

// The beginning of what follows, changing nothing: what the folder holds, or why it is left alone.
struct CleanupPreview {
  std::uint64_t entries = 0;
  PathMeasure measure;
  CleanupFailure failure = CleanupFailure::none;
};
CleanupPreview previewCleanup(Machine& machine, FolderSource& folders, const std::wstring& path);

// Deletes the entries of a folder permanently, one by one, and logs the total. Refuses a folder
// that is reached through a link: anyone who can write to a temporary folder could have made
// one that leads anywhere. An exception means that nothing was deleted.
CleanupResult cleanFolder(Machine& machine, FolderSource& folders, const std::wstring& path);

} // namespace vorda
