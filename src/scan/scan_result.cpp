#include "scan/scan_result.h"

#include "base/paths.h"

#include <algorithm>

namespace vorda {

namespace {

std::int32_t depthOf(const FolderTable& folders, std::uint32_t index) {
  return index < folders.size() ? folders[index].depth : -1;
}

} // namespace

std::uint64_t backOf(const ScanResult& result, const FileEntry& file) {
  if (file.link >= result.links.files.size()) return file.disk;
  const LinkedFile& link = result.links.files[file.link];
  return link.count == 1 && !link.stays ? file.disk : 0;
}

std::wstring filePath(const ScanResult& result, const FileEntry& file) {
  return joinPath(folderPath(result.folders, file.folder, result.separator), file.name,
                  result.separator);
}

int comparePaths(const ScanResult& result, const FileEntry& a, const FileEntry& b) {
  const FolderTable& folders = result.folders;
  // On each side, the name directly below the folder reached so far; first the file names.
  const std::wstring* left = &a.name;
  const std::wstring* right = &b.name;
  std::uint32_t leftFolder = a.folder;
  std::uint32_t rightFolder = b.folder;
  const auto climb = [&folders](std::uint32_t& folder, const std::wstring*& below) {
    below = &folders[folder].name;
    folder = folders[folder].parent;
  };
  while (leftFolder != rightFolder) {
    const std::int32_t leftDepth = depthOf(folders, leftFolder);
    const std::int32_t rightDepth = depthOf(folders, rightFolder);
    if (leftDepth < 0 && rightDepth < 0) break;
    if (leftDepth >= rightDepth) climb(leftFolder, left);
    if (rightDepth >= leftDepth) climb(rightFolder, right);
  }
  return left->compare(*right);
}

void keepLargest(const ScanResult& result, std::vector<const FileEntry*>& files,
                 std::size_t count) {
  const auto larger = [&result](const FileEntry* a, const FileEntry* b) {
    return a->size != b->size ? a->size > b->size : comparePaths(result, *a, *b) < 0;
  };
  if (count < files.size()) {
    const auto cut = files.begin() + static_cast<std::ptrdiff_t>(count);
    std::nth_element(files.begin(), cut, files.end(), larger);
    files.resize(count);
  }
  std::sort(files.begin(), files.end(), larger);
}

std::vector<const FileEntry*> largestFiles(const ScanResult& result, std::size_t count) {
  std::vector<const FileEntry*> files;
  files.reserve(result.files.size());
  for (const FileEntry& file : result.files) files.push_back(&file);
  keepLargest(result, files, count);
  return files;
}

} // namespace vorda
