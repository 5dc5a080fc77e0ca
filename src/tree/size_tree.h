// The size tree: the totals of every folder including everything below it, and its queries.
#pragma once

#include "json/json_writer.h"
#include "scan/disk_figures.h"
#include "scan/folder_table.h"
#include "scan/progress.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// Limits of the result document. maxDepth, minBytes and maxChildren apply to tree nodes.
struct TreeOptions {
  std::int32_t maxDepth = 7;
  std::uint64_t minBytes = 67'108'864; // 64 MiB
  std::int32_t maxChildren = 40;
  std::int32_t maxFiles = 120;
  std::int32_t maxTypes = 20;
};

// Adds every folder to its ancestors, links children in ascending index order and sets depths;
// linear time, no recursion. Parent links that are out of range or part of a cycle are cut:
// such a folder gets depth 1 and is in no list of children. Does nothing for an empty table.
// Publishes kPhaseSumming, then kPhaseFinished.
void sumTree(FolderTable& folders, ScanProgress& progress);

// The index of every folder, deepest first, ascending within one depth. Requires set depths.
std::vector<std::uint32_t> deepestFirst(const FolderTable& folders);

// The index of a folder by its full path, ignoring case and one trailing separator; empty if
// the path is not in the table. rootPath: the scanned root.
std::optional<std::uint32_t> findFolder(const FolderTable& folders, std::wstring_view rootPath,
                                        std::wstring_view path);

// Writes a node and its children down to maxDepth: the largest subfolders, the other subfolders
// as one entry, the folder's own files as another. disk: if not null, bytes on disk are written as
// well, and count for which subfolders are the largest.
void writeTreeNode(const FolderTable& folders, std::wstring_view rootPath,
                   const TreeOptions& options, JsonWriter& json, std::uint32_t index,
                   std::int32_t depth, const std::vector<FolderDisk>* disk = nullptr);

} // namespace vorda
