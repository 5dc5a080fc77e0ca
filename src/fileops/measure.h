// How much lies at and beneath a path.
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
  std::uint64_t unreadableFolders = 0; // what lies in them is not in the figures
  TypeTotals types;
};

// A file by its size; a folder by everything beneath it, links neither counted nor
// entered. A path that is itself a link, or is not there, measures nothing. onFolder sees
// the path and the name of every folder on the way.
using FolderVisit = std::function<void(const std::wstring& path, std::wstring_view name)>;
PathMeasure measurePath(FolderSource& source, const std::wstring& path,
                        const FolderVisit& onFolder = {});

// A folder as a scan with these options would find it; the root's name is its path. What
// cannot be listed stays in the table, empty.
ScanResult surveyFolder(FolderSource& source, const std::wstring& path, const ScanOptions& options);

} // namespace vorda
