// What a scan is asked for and what it collects; the same for every scan method.
#pragma once

#include "scan/file_filter.h"
#include "scan/file_sink.h"
#include "scan/folder_table.h"
#include "scan/type_totals.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

struct ScanOptions {
  std::wstring root;
  std::vector<std::wstring> extensions;
  std::vector<std::wstring> namePatterns;
  // Bytes from which a file is kept in the list.
  std::uint64_t fileListThreshold = kFileListThreshold;
  // Takes the kept files instead of the list. The method may then leave the folders and
  // types of its result empty; the counters are filled all the same.
  FileSink* sink = nullptr;
  // Folders beneath the root that are not entered and do not count: absolute paths.
  std::vector<std::wstring> leftOut;

  // Whether a file is kept in the list. Files that are not kept count all the same.
  bool keeps(std::wstring_view fileName, std::uint64_t bytes) const {
    return bytes >= fileListThreshold && passesFilter(fileName, extensions, namePatterns);
  }
};

struct FileEntry {
  std::uint32_t folder = 0; // index into the folder table
  std::wstring name;
  std::uint64_t size = 0;     // bytes
  std::uint64_t modified = 0; // milliseconds since 1970 (UTC), 0 when not known
};

struct ScanResult {
  std::wstring rootPath; // absolute, without a trailing separator unless it is a drive root
  wchar_t separator = L'\\';
  FolderTable folders;
  std::vector<FileEntry> files; // the kept files
  TypeTotals types;             // every file
  std::uint64_t fileCount = 0;  // every file
  std::uint64_t byteCount = 0;  // every file
  std::uint64_t folderCount = 0;
  std::uint32_t unreadableFolders = 0;
  std::uint32_t skippedFolders = 0;
  double seconds = 0;
};

// The full path of a kept file. Only after the tree is summed.
std::wstring filePath(const ScanResult& result, const FileEntry& file);

// The order of two kept files by full path, as plain units, without building the paths.
// Only after the tree is summed.
int comparePaths(const ScanResult& result, const FileEntry& a, const FileEntry& b);

// Cuts a list of kept files to the count largest, largest first, equal sizes by path.
// Time grows with the list, not with sorting it.
void keepLargest(const ScanResult& result, std::vector<const FileEntry*>& files, std::size_t count);

// The count largest of all kept files, in the same order; all of them when there are no more.
std::vector<const FileEntry*> largestFiles(const ScanResult& result, std::size_t count);

} // namespace vorda
