#include "tree/tree_update.h"

#include "base/keyed_hash.h"
#include "base/paths.h"
#include "base/text.h"
#include "tree/size_tree.h"

#include <algorithm>
#include <unordered_map>

namespace vorda {

namespace {

// Subtracts without going below zero: the scan may be older than the measured values.
void take(std::uint64_t& from, std::uint64_t count) { from -= std::min(from, count); }

void takeTypes(TypeTotals& from, const TypeTotals& gone) {
  for (const auto& [type, total] : gone) {
    const auto at = from.find(type);
    if (at == from.end()) continue;
    take(at->second.bytes, total.bytes);
    take(at->second.files, total.files);
    take(at->second.disk, total.disk);
    take(at->second.back, total.back);
    take(at->second.cloud, total.cloud);
    if (at->second.files == 0) from.erase(at);
  }
}

} // namespace

TreeUpdate::TreeUpdate(ScanResult& result)
    : result_(result), disk_(result), emptied_(result.folders.size(), false) {}

void TreeUpdate::addToAncestors(std::uint32_t folder, std::uint64_t bytes, std::uint64_t files) {
  for (std::uint32_t at = folder; at != kNoFolder; at = result_.folders[at].parent) {
    result_.folders[at].totalBytes += bytes;
    result_.folders[at].totalFiles += files;
  }
  result_.byteCount += bytes;
  result_.fileCount += files;
}

void TreeUpdate::takeFromAncestors(std::uint32_t folder, std::uint64_t bytes, std::uint64_t files) {
  for (std::uint32_t at = folder; at != kNoFolder; at = result_.folders[at].parent) {
    take(result_.folders[at].totalBytes, bytes);
    take(result_.folders[at].totalFiles, files);
  }
  take(result_.byteCount, bytes);
  take(result_.fileCount, files);
}

void TreeUpdate::unlink(std::uint32_t folder) {
  FolderTable& folders = result_.folders;
  std::uint32_t* link = &folders[folders[folder].parent].firstChild;
  while (*link != kNoFolder && *link != folder) link = &folders[*link].nextSibling;
  if (*link == folder) *link = folders[folder].nextSibling;
  folders[folder].nextSibling = kNoFolder;
}

std::uint32_t TreeUpdate::addChild(std::uint32_t parent, std::wstring_view name) {
  FolderTable& folders = result_.folders;
  const auto index = static_cast<std::uint32_t>(folders.size());
  folders.push_back({parent, std::wstring(name)});
  folders[index].depth = folders[parent].depth + 1;
  emptied_.push_back(false);
  disk_.addFolder();
  std::uint32_t* link = &folders[parent].firstChild;
  while (*link != kNoFolder) link = &folders[*link].nextSibling;
  *link = index;
  ++result_.folderCount;
  return index;
}

std::vector<std::uint32_t> TreeUpdate::withDescendants(std::uint32_t folder) const {
  std::vector<std::uint32_t> found = {folder};
  for (std::size_t i = 0; i < found.size(); ++i) {
    for (std::uint32_t child = result_.folders[found[i]].firstChild; child != kNoFolder;
         child = result_.folders[child].nextSibling) {
      found.push_back(child);
    }
  }
  return found;
}

void TreeUpdate::clear(std::uint32_t folder) {
  result_.folders[folder] = FolderEntry{};
  emptied_[folder] = true;
  take(result_.folderCount, 1);
}

void TreeUpdate::removePath(std::wstring_view path, bool isFolder, std::uint64_t bytes,
                            std::uint64_t files, const TypeTotals& types, bool isListed) {
  FolderTable& folders = result_.folders;
  if (const auto folder = findFolder(folders, result_.rootPath, path)) {
    if (*folder == 0) return; // the root itself is never deleted
    const std::vector<std::uint32_t> gone = withDescendants(*folder);
    goneBytes_ += folders[*folder].totalBytes;
    disk_.removeFolder(gone);
    takeFromAncestors(folders[*folder].parent, folders[*folder].totalBytes,
                      folders[*folder].totalFiles);
    unlink(*folder);
    for (const std::uint32_t one : gone) clear(one);
    mergeTypes(goneTypes_, types);
    return;
  }
  if (isFolder) return; // made after the scan
  const auto parent = findFolder(folders, result_.rootPath, parentOf(path));
  if (!parent) return;
  TypeTotal gone = types.empty() ? TypeTotal() : types.begin()->second;
  gone.bytes = bytes;
  gone.files = files;
  // A link is in no scan, but turbo lists files whose contents are kept by a reparse point.
  goneFiles_.emplace(FileKey{*parent, lowerCase(lastName(path))},
                     GoneFile{std::wstring(lastName(path)), gone, isListed || files == 0});
}

// The index in this tree of each surveyed folder, added if missing. A survey lists the
// subfolders of a folder consecutively.
std::vector<std::uint32_t> TreeUpdate::placesOf(const FolderTable& survey, std::uint32_t folder) {
  std::vector<std::uint32_t> places = {folder};
  // By lower-case name, those that the survey has not met yet. Where case matters, several may be alike.
  std::unordered_multimap<std::wstring, std::uint32_t, KeyedTextHash> children;
  std::uint32_t listed = kNoFolder;
  for (std::size_t i = 1; i < survey.size(); ++i) {
    if (survey[i].parent != listed) {
      listed = survey[i].parent;
      children.clear();
      for (std::uint32_t child = result_.folders[places[listed]].firstChild; child != kNoFolder;
           child = result_.folders[child].nextSibling) {
        children.emplace(lowerCase(result_.folders[child].name), child);
      }
    }
    const auto [from, to] = children.equal_range(lowerCase(survey[i].name));
    if (from == to) {
      places.push_back(addChild(places[listed], survey[i].name));
      continue;
    }
    const auto same = std::find_if(from, to, [this, &survey, i](const auto& child) {
      return result_.folders[child.second].name == survey[i].name;
    });
    const auto known = same == to ? from : same;
    places.push_back(known->second);
    result_.folders[known->second].name = survey[i].name;
    children.erase(known);
  }
  return places;
}

std::uint64_t TreeUpdate::replaceFolder(std::wstring_view path, const ScanResult& survey,
                                        const TypeTotals& typesBefore) {
  FolderTable& folders = result_.folders;
  const auto folder = findFolder(folders, result_.rootPath, path);
  if (!folder || survey.folders.empty()) return 0;
  const std::uint64_t oldBytes = folders[*folder].totalBytes;
  const std::vector<std::uint32_t> before = withDescendants(*folder);
  disk_.releaseContents(before);
  takeFromAncestors(*folder, folders[*folder].totalBytes, folders[*folder].totalFiles);

  const std::vector<std::uint32_t> places = placesOf(survey.folders, *folder);
  std::vector<bool> there(folders.size(), false);
  for (const std::uint32_t place : places) there[place] = true;
  for (const std::uint32_t old : before) {
    emptied_[old] = true;
    if (!there[old]) clear(old);
  }
  std::vector<std::uint32_t> descending(places.begin() + 1, places.end());
  std::sort(descending.rbegin(), descending.rend());
  for (std::size_t i = 0; i < places.size(); ++i) {
    FolderEntry& entry = folders[places[i]];
    entry.ownBytes = entry.totalBytes = survey.folders[i].ownBytes;
    entry.ownFiles = entry.totalFiles = survey.folders[i].ownFiles;
    entry.firstChild = kNoFolder;
  }
  for (const std::uint32_t place : descending) {
    FolderEntry& entry = folders[place];
    entry.nextSibling = folders[entry.parent].firstChild;
    folders[entry.parent].firstChild = place;
  }
  // In a survey, parents have lower indices than their children.
  for (std::size_t i = places.size(); i-- > 1;) {
    FolderEntry& parent = folders[folders[places[i]].parent];
    parent.totalBytes += folders[places[i]].totalBytes;
    parent.totalFiles += folders[places[i]].totalFiles;
  }
  disk_.setContents(places, survey);
  const FolderEntry now = folders[*folder];
  addToAncestors(now.parent, now.totalBytes, now.totalFiles);

  std::vector<FileEntry> kept = survey.files;
  disk_.linkKept(survey, kept);
  for (FileEntry& file : kept) {
    file.folder = places[file.folder];
    if (result_.links.complete && file.link != kNoLink) {
      relisted_.emplace(file.link, std::move(file));
    } else {
      newFiles_.push_back(std::move(file));
    }
  }
  mergeTypes(goneTypes_, typesBefore);
  mergeTypes(newTypes_, survey.types);
  return oldBytes - std::min(oldBytes, now.totalBytes);
}

void TreeUpdate::moveIntoBin(std::wstring_view bin, std::wstring_view userFolder,
                             std::uint64_t bytes, std::uint64_t files, bool whole) {
  const auto found = findFolder(result_.folders, result_.rootPath, bin);
  if (!found) return;
  std::uint32_t folder = *found;
  if (!userFolder.empty()) {
    std::uint32_t child = result_.folders[folder].firstChild;
    while (child != kNoFolder && !equalsIgnoreCase(result_.folders[child].name, userFolder)) {
      child = result_.folders[child].nextSibling;
    }
    folder = child == kNoFolder ? addChild(folder, userFolder) : child;
  }
  result_.folders[folder].ownBytes += bytes;
  result_.folders[folder].ownFiles += files;
  addToAncestors(folder, bytes, files);
  typesStay_ = whole;
  binned_ = {folder, bytes, whole};
}

// Turbo lists a file with several names by the first of them.
void TreeUpdate::listAgain() {
  if (relisted_.empty()) return;
  for (const FileEntry& file : result_.files) relisted_.erase(file.link);
  for (auto& [link, file] : relisted_) {
    const LinkedFile& linked = result_.links.files[link];
    if (linked.count == 0) continue;
    const LinkName& first = result_.links.names[linked.first];
    const std::wstring_view name = result_.links.nameOf(first);
    if (name.empty()) continue; // in the bin
    file.folder = first.folder;
    file.name = name;
    result_.files.push_back(std::move(file));
  }
}

TreeUpdate::GoneFile* TreeUpdate::goneFileOf(const FileEntry& file) {
  if (goneFiles_.empty()) return nullptr;
  const auto gone = goneFiles_.find({file.folder, lowerCase(file.name)});
  return gone == goneFiles_.end() ? nullptr : &gone->second;
}

// Takes the entries of what is gone out of the list, and their figures from there. Of names that differ
// only in case, the one as it was deleted goes, or else the first.
void TreeUpdate::unlist(TypeTotals& keptTypes) {
  for (const FileEntry& file : result_.files) {
    GoneFile* gone = goneFileOf(file);
    if (gone != nullptr && gone->name == file.name) gone->isExact = true;
  }
  std::erase_if(result_.files, [this, &keptTypes](const FileEntry& file) {
    const TypeTotal total = {file.size, 1, file.disk, file.disk, file.cloud};
    if (file.folder < emptied_.size() && emptied_[file.folder]) {
      addToType(keptTypes, file.name, total);
    } else {
      GoneFile* gone = goneFileOf(file);
      if (gone == nullptr || gone->isMet) return false;
      if (gone->isExact && gone->name != file.name) return false;
      gone->total = total;
      gone->isMet = true;
    }
    if (result_.links.complete && file.link != kNoLink) {
      relisted_.insert_or_assign(file.link, file);
    }
    return true;
  });
}

void TreeUpdate::finish() {
  TypeTotals keptTypes; // of kept files whose folder was emptied
  unlist(keptTypes);
  std::vector<FileEntry>& files = result_.files;
  files.insert(files.end(), newFiles_.begin(), newFiles_.end());

  // Subtracts what was measured, and at least what the list of kept files contained. Files that
  // appeared or vanished between scan and deletion are in neither, so the types may add up to
  // more than the tree.
  for (const auto& [type, total] : keptTypes) {
    TypeTotal& gone = goneTypes_[type];
    gone.bytes = std::max(gone.bytes, total.bytes);
    gone.files = std::max(gone.files, total.files);
    gone.disk = std::max(gone.disk, total.disk);
    gone.back = std::max(gone.back, total.back);
    gone.cloud = std::max(gone.cloud, total.cloud);
  }
  for (const auto& [key, file] : goneFiles_) {
    TypeTotal gone = file.isListed && !file.isMet ? TypeTotal() : file.total;
    if (!disk_.removeFile(key.first, key.second, gone)) {
      FolderEntry& folder = result_.folders[key.first];
      take(folder.ownBytes, gone.bytes);
      take(folder.ownFiles, gone.files);
      takeFromAncestors(key.first, gone.bytes, gone.files);
    }
    goneBytes_ += gone.bytes;
    addToType(goneTypes_, key.second, {gone.bytes, gone.files, gone.disk, gone.disk, gone.cloud});
  }
  if (binned_.folder != kNoFolder) {
    const double all = static_cast<double>(std::max<std::uint64_t>(goneBytes_, 1));
    const double share = binned_.whole ? 1 : static_cast<double>(binned_.bytes) / all;
    disk_.moveInto(binned_.folder, std::min(share, 1.0));
  }
  disk_.finish(goneTypes_, newTypes_);
  listAgain();
  if (typesStay_) return; // the bin renames files but keeps their extension
  takeTypes(result_.types, goneTypes_);
  mergeTypes(result_.types, newTypes_);
}

} // namespace vorda
