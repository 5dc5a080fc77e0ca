// The folders of one scan: a flat table, index 0 being the scanned root.
//
// A scan method fills parent, name and the own figures; sumTree (analysis) fills the
// rest and leaves a forest: every parent link then leads to a root in finitely many
// steps. The table belongs to its scan result, under the job's lock once the job is
// done.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

inline constexpr std::uint32_t kNoFolder = 0xFFFFFFFF;

struct FolderEntry {
  std::uint32_t parent = kNoFolder;
  std::wstring name; // the folder's own name; the root's is the root path
  std::uint64_t ownBytes = 0;
  std::uint64_t ownFiles = 0;
  std::uint64_t totalBytes = 0;
  std::uint64_t totalFiles = 0;
  std::uint32_t firstChild = kNoFolder;
  std::uint32_t nextSibling = kNoFolder;
  std::int32_t depth = -1; // -1: not yet known
};

using FolderTable = std::vector<FolderEntry>;

// The full path of a folder: the names from its uppermost ancestor down, joined with
// the separator. Empty for an index outside the table. Only after sumTree.
std::wstring folderPath(const FolderTable& folders, std::uint32_t index, wchar_t separator);

} // namespace vorda
