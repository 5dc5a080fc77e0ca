// Scan results put together by hand, with full paths to name the places.
#pragma once

#include "base/paths.h"
#include "scan/scan_result.h"
#include "tree/disk_sums.h"
#include "tree/size_tree.h"

#include <doctest/doctest.h>

#include <string>

namespace vorda::test {

class TableBuilder {
public:
  explicit TableBuilder(const std::wstring& root) {
    result.rootPath = root;
    result.folders.push_back({kNoFolder, root});
    result.folderCount = 1;
  }

  // The folder of this path below the root, made with its ancestors where needed.
  std::uint32_t folder(std::wstring_view path) {
    std::uint32_t at = 0;
    for (const std::wstring_view part : pathComponents(path)) at = child(at, part);
    return at;
  }

  // Adds a file that counts in its folder, in the totals and in the list.
  void file(std::wstring_view folderPath, const std::wstring& name, std::uint64_t size,
            std::uint64_t modified = 0) {
    const std::uint32_t index = folder(folderPath);
    result.files.push_back({index, name, size, modified});
    result.folders[index].ownBytes += size;
    ++result.folders[index].ownFiles;
    addToType(result.types, name, size);
    ++result.fileCount;
    result.byteCount += size;
  }

  // Adds bytes to a folder without any file of the list.
  void bytes(std::wstring_view folderPath, std::uint64_t count) {
    const std::uint32_t index = folder(folderPath);
    result.folders[index].ownBytes += count;
    ++result.folders[index].ownFiles;
  }

  ScanResult& summed() {
    ScanProgress progress;
    sumScan(result, progress);
    return result;
  }

  ScanResult result;

private:
  std::uint32_t child(std::uint32_t parent, std::wstring_view name) {
    for (std::uint32_t i = 1; i < result.folders.size(); ++i) {
      if (result.folders[i].parent == parent && result.folders[i].name == name) return i;
    }
    result.folders.push_back({parent, std::wstring(name)});
    result.folderCount = result.folders.size();
    return static_cast<std::uint32_t>(result.folders.size() - 1);
  }
};

} // namespace vorda::test
