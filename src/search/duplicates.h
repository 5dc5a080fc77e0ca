// Finding files of equal content: equal in size, then in their first and last 64 KiB,
// then in the SHA-256 of the whole. No content is read that has no equal so far.
#pragma once

#include "search/candidates.h"
#include "search/content_reader.h"

#include <cstdint>
#include <vector>

namespace vorda {

// One file with all its names (hard links, or one folder reached in two ways), by path.
using FileCopy = std::vector<FileName>;

struct DuplicateGroup {
  std::uint64_t size = 0;       // bytes of each copy
  std::vector<FileCopy> copies; // two or more, by their first paths
};

struct DuplicatesFound {
  std::vector<DuplicateGroup> groups;
  // Files that would have had to be compared, but were left out.
  std::uint64_t cloud = 0;
  std::uint64_t unreadable = 0;
  std::uint64_t changed = 0; // since the listing, or while they were read
};

// The share of the whole search that is done with the listing.
inline constexpr std::uint64_t kListedPercent = 10;

// Takes files listed just now, of sizes that occur more than once, and publishes phases
// and progress. After a cancel the groups that are certain by then are given.
DuplicatesFound findDuplicates(std::vector<SizedName> names, FileContents& contents, Run& run);

} // namespace vorda
