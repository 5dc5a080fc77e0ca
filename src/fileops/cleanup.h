// Emptying the folders that hold nothing but temporary files and update downloads.
#pragma once

#include "fileops/machine.h"
#include "fileops/measure.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

// Whether a folder is one of those that may be emptied, by its last names.
bool isCleanableFolder(std::wstring_view path);

struct CleanupResult {
  std::uint32_t deleted = 0; // entries
  std::uint32_t skipped =
      0;                   // entries that the shell did not remove, mostly because they are in use
  std::uint64_t bytes = 0; // of the deleted entries
  std::string error;       // "", "notAllowed" or "unreadable"
  PathMeasure before;      // what the folder held
};

// Deletes every entry of a folder for good, each by itself, and logs the sum. Not a folder
// that is reached through a link: whoever may write to a folder for temporary files could
// have put one there that leads anywhere.
CleanupResult cleanFolder(Machine& machine, FolderSource& folders, const std::wstring& path);

} // namespace vorda
