#include "fileops/measure.h"

#include "base/paths.h"
#include "base/seen.h"
#include "base/time.h"
#include "scan/item_disk.h"

#include <algorithm>
#include <vector>

namespace vorda {

namespace {

// Visits everything inside a folder. enter(parent, path, name) returns a number for a subfolder,
// which later calls get as their first argument; the folder itself is number 0. each(folder,
// its path, item) is called for each file and each link. Returns how many folders could not be
// listed completely.
template <typename Enter, typename Item>
std::uint32_t visitBeneath(FolderSource& source, const std::wstring& path, Enter enter, Item each) {
  struct Pending {
    std::wstring path;
    bool literal;
    std::uint32_t number;
  };
  std::uint32_t unreadable = 0;
  const std::unique_ptr<FolderReader> reader = source.reader();
  std::vector<Pending> pending = {{path, false, 0}};
  while (!pending.empty()) {
    const Pending folder = std::move(pending.back());
    pending.pop_back();
    if (!reader->open(folder.path, folder.literal)) {
      ++unreadable;
      continue;
    }
    FolderItem item;
    while (reader->next(item)) {
      if (item.folder && !item.reparsePoint) {
        std::wstring below = joinPath(folder.path, item.name);
        const std::uint32_t number = enter(folder.number, below, item.name);
        pending.push_back({std::move(below), folder.literal || losesItsEnd(item.name), number});
      } else {
        each(folder.number, folder.path, item);
      }
    }
    if (reader->endedEarly()) ++unreadable;
  }
  return unreadable;
}

} // namespace

PathMeasure measurePath(FolderSource& source, const std::wstring& path,
                        const FolderVisit& onFolder) {
  PathMeasure measure;
  const PathFacts facts = source.facts(path);
  if (!facts.exists || facts.reparsePoint) return {};
  const std::uint32_t cluster = source.clusterBytes(facts.folder ? path : parentOf(path));
  const auto count = [&measure, cluster](const FolderItem& item) {
    const ItemDisk disk = diskOf(item, cluster);
    measure.bytes += item.size;
    ++measure.files;
    addToType(measure.types, item.name, {item.size, 1, disk.disk, disk.disk, disk.cloud});
  };
  if (!facts.folder) {
    FolderItem item;
    item.name = lastName(path);
    item.size = facts.size;
    item.attributes = facts.attributes;
    item.disk = source.allocatedBytes(path);
    count(item);
    return measure;
  }
  std::vector<std::uint64_t> marks = {0}; // of the path of each folder
  measure.unreadableFolders = visitBeneath(
      source, path,
      [&](std::uint32_t parent, const std::wstring& below, std::wstring_view name) {
        ++measure.folders;
        measure.longest = std::max(measure.longest, below.size());
        marks.push_back(mixed(marks[parent], name));
        measure.mark += marks.back();
        if (onFolder) onFolder(below, name);
        return static_cast<std::uint32_t>(marks.size() - 1);
      },
      [&](std::uint32_t folder, const std::wstring& at, const FolderItem& item) {
        measure.longest = std::max(measure.longest, at.size() + 1 + item.name.size());
        const std::uint64_t looks = mixed(item.size, item.lastWrite) + (item.reparsePoint ? 1 : 0);
        measure.mark += mixed(mixed(marks[folder], item.name), looks);
        if (item.reparsePoint) {
          ++measure.links;
          measure.folderLinks += item.folder ? 1 : 0;
        } else {
          count(item);
        }
      });
  return measure;
}

Loss lossBetween(const PathMeasure& before, const PathMeasure& after) {
  const auto less = [](std::uint64_t was, std::uint64_t is) { return was - std::min(was, is); };
  Loss loss = {less(before.bytes, after.bytes), less(before.files, after.files), false};
  loss.any = loss.bytes > 0 || loss.files > 0 || after.folders < before.folders ||
             after.links < before.links;
  return loss;
}

ScanResult surveyFolder(FolderSource& source, const std::wstring& path,
                        const ScanOptions& options) {
  ScanResult result;
  result.rootPath = path;
  result.folders.push_back({kNoFolder, path});
  const std::uint32_t cluster = source.clusterBytes(path);
  result.disk.resize(1);
  const auto addFolder = [&result](std::uint32_t parent, const std::wstring&,
                                   std::wstring_view name) {
    result.folders.push_back({parent, std::wstring(name)});
    result.disk.emplace_back();
    return static_cast<std::uint32_t>(result.folders.size() - 1);
  };
  const auto addFile = [&](std::uint32_t folder, const std::wstring&, const FolderItem& item) {
    if (item.reparsePoint && !isDataReparse(item)) return;
    const ItemDisk disk = diskOf(item, cluster);
    result.disk[folder].addFile(disk.disk, disk.cloud, true);
    if (item.id != 0) {
      result.met.push_back(
          {item.id, item.size, disk.disk, folder, foldedHash(item.name), kNoType, disk.cloud != 0});
    }
    if (item.reparsePoint) return;
    result.folders[folder].ownBytes += item.size;
    ++result.folders[folder].ownFiles;
    result.byteCount += item.size;
    ++result.fileCount;
    addToType(result.types, item.name, {item.size, 1, disk.disk, disk.disk, disk.cloud});
    const std::uint64_t modified = unixMsFromFileTime(item.lastWrite);
    if (!options.keeps(item.name, item.size) || !options.bounds.hold(item.size, modified)) return;
    result.files.push_back(
        {folder, std::wstring(item.name), item.size, modified, disk.disk, disk.cloud});
  };
  result.unreadableFolders = visitBeneath(source, path, addFolder, addFile);
  result.folderCount = result.folders.size();
  return result;
}

} // namespace vorda
