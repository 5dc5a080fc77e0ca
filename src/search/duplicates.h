// Finds files with equal contents: first by size, then by their first and last 64 KiB, then by the
// SHA-256 of the whole file. A file that differs from all others in one step is not read in the
// next.
#pragma once

#include "search/candidates.h"
#include "search/content_reader.h"

#include <cstdint>
#include <vector>

namespace vorda {

// One file with all its names (hard links, or a folder listed under two paths), sorted by path.
using FileCopy = std::vector<FileName>;

struct DuplicateGroup {
  std::uint64_t size = 0;       // bytes of each copy
  std::vector<FileCopy> copies; // two or more, sorted by their first paths
};

struct DuplicatesFound {
  std::vector<DuplicateGroup> groups;
  // How many files could not be compared.
  std::uint64_t cloud = 0;
  std::uint64_t unreadable = 0;
  std::uint64_t changed = 0; // since they were listed, or during reading
};

// The overall percentage at which listing ends.
inline constexpr std::uint64_t kListedPercent = 10;

// names: recently listed files whose sizes are not unique. Updates the counters of the run. If
// the run is cancelled, returns the groups that are already certain.
DuplicatesFound findDuplicates(std::vector<SizedName> names, FileContents& contents, Run& run);

} // namespace vorda
