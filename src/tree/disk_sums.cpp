#include "tree/disk_sums.h"

#include "base/paths.h"
#include "tree/size_tree.h"

#include <algorithm>
#include <map>
#include <span>
#include <utility>

namespace vorda {

namespace {

std::span<const LinkName> namesOf(const ScanResult& result, const LinkedFile& file) {
  return std::span(result.links.names).subspan(file.first, file.count);
}

// The lowest folder that contains both; kNoFolder if there is none.
std::uint32_t lowestAround(const FolderTable& folders, std::uint32_t a, std::uint32_t b) {
  while (a != b && a != kNoFolder && b != kNoFolder) {
    if (folders[a].depth >= folders[b].depth) {
      a = folders[a].parent;
    } else {
      b = folders[b].parent;
    }
  }
  return a == b ? a : kNoFolder;
}

void change(std::uint64_t& value, std::int64_t by) {
  const std::uint64_t less = by < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(by) : 0;
  value = by < 0 ? value - std::min(value, less) : value + static_cast<std::uint64_t>(by);
}

// Null if no file of this type is counted, for which no line is made.
TypeTotal* typeOf(ScanResult& result, const LinkName& name) {
  if (name.type >= result.links.types.size()) return nullptr;
  const auto at = result.types.find(result.links.types[name.type]);
  return at == result.types.end() ? nullptr : &at->second;
}

void shareOut(ScanResult& result, const LinkedFile& file, int sign) {
  const std::span<const LinkName> names = namesOf(result, file);
  if (names.empty()) return;
  const auto disk = sign * static_cast<std::int64_t>(file.disk);
  const auto cloud = sign * static_cast<std::int64_t>(file.cloud);
  const std::uint32_t first = names.front().folder;
  change(result.disk[first].ownDisk, disk);
  change(result.disk[first].ownCloud, cloud);
  changeTotals(result, first, {disk, 0, cloud});
  TypeTotal* type = typeOf(result, names.front());
  if (type != nullptr) {
    change(type->disk, disk);
    change(type->cloud, cloud);
  }
  if (file.stays) return;
  std::uint32_t around = first;
  bool sameFolder = true;
  bool sameType = true;
  for (const LinkName& name : names) {
    around = lowestAround(result.folders, around, name.folder);
    sameFolder = sameFolder && name.folder == first;
    sameType = sameType && name.type == names.front().type;
    if (around == kNoFolder) return;
  }
  FolderDisk& sums = result.disk[around];
  change(sameFolder ? sums.ownBack : sums.jointBack, disk);
  changeTotals(result, around, {0, disk, 0});
  if (sameType && type != nullptr) change(type->back, disk);
}

// Whether folder a comes before b in the order of their paths, by components.
bool isBefore(const FolderTable& folders, std::uint32_t a, std::uint32_t b) {
  if (a == b) return false;
  std::uint32_t left = a;
  std::uint32_t right = b;
  std::uint32_t belowLeft = kNoFolder;
  std::uint32_t belowRight = kNoFolder;
  while (left != right && left != kNoFolder && right != kNoFolder) {
    const bool climbLeft = folders[left].depth >= folders[right].depth;
    const bool climbRight = folders[right].depth >= folders[left].depth;
    if (climbLeft) {
      belowLeft = left;
      left = folders[left].parent;
    }
    if (climbRight) {
      belowRight = right;
      right = folders[right].parent;
    }
  }
  // One contains the other.
  if (belowLeft == kNoFolder || belowRight == kNoFolder) return belowLeft == kNoFolder;
  return folders[belowLeft].name < folders[belowRight].name;
}

} // namespace

void changeTotals(ScanResult& result, std::uint32_t folder, const DiskChange& by) {
  for (std::uint32_t at = folder; at != kNoFolder; at = result.folders[at].parent) {
    FolderDisk& sums = result.disk[at];
    change(sums.totalDisk, by.disk);
    change(sums.totalBack, by.back);
    change(sums.totalCloud, by.cloud);
  }
}

void attachLink(ScanResult& result, const LinkedFile& file) { shareOut(result, file, 1); }
void detachLink(ScanResult& result, const LinkedFile& file) { shareOut(result, file, -1); }

void orderNames(ScanResult& result, const LinkedFile& file) {
  LinkTable& links = result.links;
  const auto first = links.names.begin() + static_cast<std::ptrdiff_t>(file.first);
  std::sort(first, first + static_cast<std::ptrdiff_t>(file.count),
            [&result](const LinkName& a, const LinkName& b) {
              if (result.links.complete) return a.nameAt < b.nameAt;
              return a.folder != b.folder ? isBefore(result.folders, a.folder, b.folder)
                                          : a.nameHash < b.nameHash;
            });
}

void sumDisk(ScanResult& result) {
  if (result.disk.empty()) return;
  for (FolderDisk& folder : result.disk) {
    folder.totalDisk = folder.ownDisk + folder.ownTables;
    folder.totalBack = folder.ownBack + (folder.fixed ? 0 : folder.ownTables);
    folder.totalCloud = folder.ownCloud;
  }
  for (const std::uint32_t index : deepestFirst(result.folders)) {
    const std::uint32_t parent = result.folders[index].parent;
    if (parent == kNoFolder) continue;
    result.disk[parent].totalDisk += result.disk[index].totalDisk;
    result.disk[parent].totalBack += result.disk[index].totalBack;
    result.disk[parent].totalCloud += result.disk[index].totalCloud;
  }
  for (const LinkedFile& file : result.links.files) {
    orderNames(result, file);
    attachLink(result, file);
  }
  result.volume.diskThen = result.disk[0].totalDisk;
}

void sumScan(ScanResult& result, ScanProgress& progress) {
  sumTree(result.folders, progress);
  sumDisk(result);
}

Promise promiseOf(const ScanResult& result, const Selection& selection) {
  Promise promise;
  if (result.disk.empty()) return promise;
  std::vector<bool> inside(result.folders.size(), false);
  std::vector<std::uint32_t> pending = selection.folders;
  for (const std::uint32_t folder : selection.folders) {
    promise.back += result.disk[folder].totalBack;
  }
  while (!pending.empty()) {
    const std::uint32_t folder = pending.back();
    pending.pop_back();
    inside[folder] = true;
    for (std::uint32_t child = result.folders[folder].firstChild; child != kNoFolder;
         child = result.folders[child].nextSibling) {
      pending.push_back(child);
    }
  }
  using Key = std::pair<std::uint32_t, std::uint32_t>;
  std::map<Key, std::uint64_t> files;
  for (const Selection::File& file : selection.files) {
    files.emplace(Key{file.folder, foldedHash(file.name)}, file.disk);
  }
  if (!files.empty()) {
    for (const FileEntry& file : result.files) {
      const auto at = files.find({file.folder, foldedHash(file.name)});
      if (at != files.end()) at->second = file.disk;
    }
  }
  for (const LinkedFile& file : result.links.files) {
    bool all = !file.stays;
    bool any = false;
    std::uint32_t around = file.count == 0 ? kNoFolder : result.links.names[file.first].folder;
    for (const LinkName& name : namesOf(result, file)) {
      const auto chosen = files.find({name.folder, name.nameHash});
      const bool goes = inside[name.folder] || chosen != files.end();
      if (chosen != files.end()) chosen->second = 0; // counted here
      all = all && goes;
      any = any || goes;
      if (around != kNoFolder) around = lowestAround(result.folders, around, name.folder);
    }
    if (any && !all) promise.shared += file.disk;
    const bool counted = around != kNoFolder && inside[around];
    if (any && all && !counted) promise.back += file.disk;
  }
  for (const auto& [key, disk] : files) promise.back += disk;
  return promise;
}

} // namespace vorda
