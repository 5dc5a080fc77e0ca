// Options and result of a scan, shared by all scan methods.
#pragma once

#include "scan/file_filter.h"
#include "scan/file_sink.h"
#include "scan/folder_table.h"
#include "scan/type_totals.h"
#include "scan/words.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

struct ScanOptions {
  std::wstring root;
  std::vector<std::wstring> extensions;
  std::vector<std::wstring> namePatterns;
  // Files of at least this many bytes are kept in the list.
  std::uint64_t fileListThreshold = kFileListThreshold;
  FileBounds bounds; // of the kept files
  // If set, receives the kept files instead of the list. The result's folders and types may
  // then stay empty; its counters are still filled.
  FileSink* sink = nullptr;
  // Absolute paths of folders below the root to skip; they are not counted.
  std::vector<std::wstring> leftOut;

  // Whether a file is kept in the list, provided that the bounds hold. All files are counted, kept or
  // not.
  bool keeps(std::wstring_view fileName, std::uint64_t bytes) const {
    return bytes >= fileListThreshold && passesFilter(fileName, extensions, namePatterns);
  }
};

struct FileEntry {
  std::uint32_t folder = 0; // index into the folder table
  std::wstring name;
  std::uint64_t size = 0;     // bytes
  std::uint64_t modified = 0; // milliseconds since 1970 (UTC); 0: unknown
};

struct ScanResult {
  std::wstring rootPath; // absolute, without a trailing separator unless it is a drive root
  wchar_t separator = L'\\';
  FolderTable folders;
  std::vector<FileEntry> files; // kept files only
  TypeTotals types;             // all files
  std::uint64_t fileCount = 0;  // all files
  std::uint64_t byteCount = 0;  // all files
  std::uint64_t folderCount = 0;
  std::uint32_t unreadableFolders = 0;
  std::uint32_t skippedFolders = 0;
  double seconds = 0;
  Partial partial = Partial::none;
};

// The full path of a kept file. Requires a summed tree.
std::wstring filePath(const ScanResult& result, const FileEntry& file);

// Compares two kept files by their path components, as UTF-16 units; <0, 0 or >0 like
// std::wstring::compare. Builds no paths. Requires a summed tree.
int comparePaths(const ScanResult& result, const FileEntry& a, const FileEntry& b);

// Reduces a list of kept files to its count largest, largest first, equal sizes by path.
// Linear in the list's length; only the result is sorted.
void keepLargest(const ScanResult& result, std::vector<const FileEntry*>& files, std::size_t count);

// The count largest of all kept files in that order, or all of them if there are fewer.
std::vector<const FileEntry*> largestFiles(const ScanResult& result, std::size_t count);

} // namespace vorda
