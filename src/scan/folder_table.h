// The folders of one scan in a flat table; index 0 is the scanned root.
//
// Scan methods fill parent, name, ownBytes and ownFiles. sumTree in src/tree fills the rest and
// cuts parent links that form a cycle or lead nowhere.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

inline constexpr std::uint32_t kNoFolder = 0xFFFFFFFF;

struct FolderEntry {
  std::uint32_t parent = kNoFolder;
  std::wstring name; // the root's name is the root path
  std::uint64_t ownBytes = 0;
  std::uint64_t ownFiles = 0;
  std::uint64_t totalBytes = 0;
  std::uint64_t totalFiles = 0;
  std::uint32_t firstChild = kNoFolder;
  std::uint32_t nextSibling = kNoFolder;
  std::int32_t depth = -1; // -1: not computed yet
};

using FolderTable = std::vector<FolderEntry>;

// The full path of a folder. Empty for an index outside the table. Requires sumTree.
std::wstring folderPath(const FolderTable& folders, std::uint32_t index, wchar_t separator);

} // namespace vorda
