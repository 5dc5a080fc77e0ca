// The size of files and of whole folders.
#pragma once

#include "scan/folder_reader.h"
#include "scan/scan_result.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace vorda {

struct PathMeasure {
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
  std::uint64_t folders = 0;           // inside
  std::uint64_t links = 0;             // inside: reparse points of any kind
  std::uint64_t folderLinks = 0;       // those of them that are folders
  std::size_t longest = 0;             // the longest path inside, in UTF-16 units
  std::uint64_t unreadableFolders = 0; // whose contents are not counted
  // Of the names, sizes and times of everything inside, in any order: another number after
  // whatever change.
  std::uint64_t mark = 0;
  TypeTotals types;
};

// What went from inside a folder that is still there.
struct Loss {
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
  bool any = false; // also when only empty files, folders or links went
};

Loss lossBetween(const PathMeasure& before, const PathMeasure& after);

// Measures a file, or everything inside a folder. Links are not followed and have no size; a
// path that is a link or does not exist counts as empty. onFolder is called for every folder
// found inside.
using FolderVisit = std::function<void(const std::wstring& path, std::wstring_view name)>;
PathMeasure measurePath(FolderSource& source, const std::wstring& path,
                        const FolderVisit& onFolder = {});

// Lists a folder as a scan with these options would; the name of the root is its path. Folders
// that cannot be listed appear empty.
ScanResult surveyFolder(FolderSource& source, const std::wstring& path, const ScanOptions& options);

} // namespace vorda
