// The size tree: what every folder holds with everything beneath it, and the questions
// asked of it.
#pragma once

#include "json/json_writer.h"
#include "scan/folder_table.h"
#include "scan/progress.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

// Limits of the result document's sections. minBytes and the like apply per tree node.
struct TreeOptions {
  std::int32_t maxDepth = 7;
  std::uint64_t minBytes = 67'108'864; // 64 MiB
  std::int32_t maxChildren = 40;
  std::int32_t maxFiles = 120;
  std::int32_t maxTypes = 20;
};

// Sums every folder into its ancestors, links the children (ascending index) and sets
// the depths, in time linear in the table and without recursion. A parent link that
// leads nowhere - out of range, to the entry itself, or round in a circle - is cut:
// that entry has depth 1 and is nobody's child. An empty table is left alone, progress
// included. Phase 2 with status "summing" on the way, phase 3 at the end.
void sumTree(FolderTable& folders, ScanProgress& progress);

// The index of a folder by its full path, ignoring case and one trailing separator;
// nothing when the path is not in the table. rootPath is the scanned root's path.
std::optional<std::uint32_t> findFolder(const FolderTable& folders, std::wstring_view rootPath,
                                        std::wstring_view path);

// Writes one node and its children down to maxDepth: the largest subfolders one by one,
// the smaller ones as a group, the files that lie loose in the folder as another.
void writeTreeNode(const FolderTable& folders, std::wstring_view rootPath,
                   const TreeOptions& options, JsonWriter& json, std::uint32_t index,
                   std::int32_t depth);

} // namespace vorda
