#include "tree/disk_update.h"

#include <algorithm>
#include <map>

namespace vorda {

namespace {

DiskChange minus(const FolderDisk& folder) {
  return {-static_cast<std::int64_t>(folder.totalDisk),
          -static_cast<std::int64_t>(folder.totalBack),
          -static_cast<std::int64_t>(folder.totalCloud)};
}

std::uint64_t part(std::uint64_t bytes, double share) {
  return share >= 1 ? bytes : static_cast<std::uint64_t>(static_cast<double>(bytes) * share);
}

void take(std::uint64_t& from, std::uint64_t count) { from -= std::min(from, count); }

// Takes a file out of the sizes of a folder and of those around it, the outermost last.
void takeSize(FolderTable& folders, std::uint32_t folder, std::uint32_t outermost,
              std::uint64_t size) {
  take(folders[folder].ownBytes, size);
  take(folders[folder].ownFiles, 1);
  for (std::uint32_t at = folder; at != kNoFolder; at = folders[at].parent) {
    take(folders[at].totalBytes, size);
    take(folders[at].totalFiles, 1);
    if (at == outermost) break;
  }
}

} // namespace

// Adds a file with several names to the sizes, where they count at its first name only.
void DiskUpdate::countSize(const LinkedFile& file) {
  const LinkTable& links = result_.links;
  if (!links.complete || file.count == 0) return;
  const LinkName& first = links.names[file.first];
  ++result_.folders[first.folder].ownFiles;
  result_.folders[first.folder].ownBytes += file.size;
  for (std::uint32_t at = first.folder; at != kNoFolder; at = result_.folders[at].parent) {
    ++result_.folders[at].totalFiles;
    result_.folders[at].totalBytes += file.size;
  }
  ++result_.fileCount;
  result_.byteCount += file.size;
  result_.types[links.types[first.type]].add({file.size, 1});
}

void DiskUpdate::uncountSize(const LinkedFile& file) {
  const LinkTable& links = result_.links;
  if (!links.complete || file.count == 0) return;
  const LinkName& first = links.names[file.first];
  takeSize(result_.folders, first.folder, 0, file.size);
  take(result_.fileCount, 1);
  take(result_.byteCount, file.size);
  const auto type = result_.types.find(links.types[first.type]);
  if (type == result_.types.end()) return;
  take(type->second.files, 1);
  take(type->second.bytes, file.size);
}

void DiskUpdate::indexNames() {
  if (indexed_) return;
  indexed_ = true;
  const LinkTable& links = result_.links;
  isReleased_.resize(links.files.size(), false);
  for (std::uint32_t i = 0; i < links.files.size(); ++i) {
    for (std::uint32_t n = 0; n < links.files[i].count; ++n) {
      byFolder_.emplace_back(links.names[links.files[i].first + n].folder, i);
    }
  }
  std::sort(byFolder_.begin(), byFolder_.end());
}

template <typename Goes> void DiskUpdate::release(std::uint32_t link, Goes goes) {
  LinkedFile& file = result_.links.files[link];
  if (!isReleased_[link]) {
    detachLink(result_, file);
    uncountSize(file);
    isReleased_[link] = true;
    released_.push_back(link);
  }
  std::uint32_t kept = 0;
  for (std::uint32_t n = 0; n < file.count; ++n) {
    LinkName& name = result_.links.names[file.first + n];
    if (goes(name)) {
      goneNames_.emplace_back(link, name);
    } else {
      result_.links.names[file.first + kept++] = name;
    }
  }
  file.count = kept;
}

void DiskUpdate::releaseIn(const std::vector<std::uint32_t>& folders) {
  indexNames();
  for (const std::uint32_t folder : folders) {
    auto at = std::lower_bound(byFolder_.begin(), byFolder_.end(), std::pair(folder, 0U));
    for (; at != byFolder_.end() && at->first == folder; ++at) {
      release(at->second, [folder](const LinkName& name) { return name.folder == folder; });
    }
  }
}

std::uint32_t DiskUpdate::linkOf(std::uint32_t folder, std::uint32_t hash) const {
  const LinkTable& links = result_.links;
  auto at = std::lower_bound(byFolder_.begin(), byFolder_.end(), std::pair(folder, 0U));
  for (; at != byFolder_.end() && at->first == folder; ++at) {
    const LinkedFile& file = links.files[at->second];
    for (std::uint32_t n = 0; n < file.count; ++n) {
      const LinkName& name = links.names[file.first + n];
      if (name.folder == folder && name.nameHash == hash) return at->second;
    }
  }
  return kNoLink;
}

void DiskUpdate::removeFolder(const std::vector<std::uint32_t>& gone) {
  if (result_.disk.empty()) return;
  releaseIn(gone);
  const FolderDisk totals = result_.disk[gone.front()];
  changeTotals(result_, result_.folders[gone.front()].parent, minus(totals));
  goneDisk_ += totals.totalDisk;
  goneCloud_ += totals.totalCloud;
  for (const std::uint32_t folder : gone) result_.disk[folder] = FolderDisk{};
}

bool DiskUpdate::removeFile(std::uint32_t folder, std::wstring_view name, TypeTotal& gone) {
  if (result_.disk.empty()) return false;
  indexNames();
  const std::uint32_t hash = foldedHash(name);
  if (const std::uint32_t link = linkOf(folder, hash); link != kNoLink) {
    release(link, [folder, hash](const LinkName& one) {
      return one.folder == folder && one.nameHash == hash;
    });
    const LinkedFile& file = result_.links.files[link];
    gone.disk = gone.back = file.disk;
    gone.cloud = file.cloud;
    if (!result_.links.complete) return false;
    gone.bytes = file.size;
    gone.files = 1;
    return true;
  }
  FolderDisk& sums = result_.disk[folder];
  const std::uint64_t disk = std::min(gone.disk, sums.ownDisk);
  const std::uint64_t cloud = std::min(gone.cloud, sums.ownCloud);
  take(sums.ownDisk, disk);
  take(sums.ownBack, disk);
  take(sums.ownCloud, cloud);
  changeTotals(result_, folder,
               {-static_cast<std::int64_t>(disk), -static_cast<std::int64_t>(disk),
                -static_cast<std::int64_t>(cloud)});
  goneDisk_ += disk;
  goneCloud_ += cloud;
  return false;
}

void DiskUpdate::releaseContents(const std::vector<std::uint32_t>& before) {
  if (result_.disk.empty()) return;
  releaseIn(before);
  changeTotals(result_, result_.folders[before.front()].parent,
               minus(result_.disk[before.front()]));
  for (const std::uint32_t folder : before) {
    const bool fixed = result_.disk[folder].fixed;
    result_.disk[folder] = FolderDisk{};
    result_.disk[folder].fixed = fixed;
  }
}

void DiskUpdate::setContents(const std::vector<std::uint32_t>& places, const ScanResult& survey) {
  if (result_.disk.empty()) return;
  std::vector<bool> known(survey.disk.size(), false);
  for (std::size_t i = 0; i < std::min(places.size(), survey.disk.size()); ++i) {
    const FolderDisk& own = survey.disk[i];
    result_.disk[places[i]].addFile(own.ownDisk, own.ownCloud, true);
  }
  std::vector<MetFile> met = survey.met;
  std::sort(met.begin(), met.end(), [](const MetFile& a, const MetFile& b) { return a.id < b.id; });
  for (std::size_t i = 0; i < met.size(); ++i) {
    const MetFile& file = met[i];
    FolderDisk& folder = result_.disk[places[file.folder]];
    const std::uint32_t link = result_.links.find(file.id);
    const bool again = i > 0 && met[i - 1].id == file.id;
    if (link == kNoLink && !again) continue;
    // Counts with the link, or did already under another name.
    take(folder.ownDisk, file.disk);
    take(folder.ownBack, file.disk);
    take(folder.ownCloud, file.cloud ? file.size - std::min(file.size, file.disk) : 0);
    if (result_.links.complete) {
      takeSize(result_.folders, places[file.folder], places.front(), file.size);
    }
    if (link == kNoLink || !isReleased_[link]) continue;
    const auto name = std::find_if(goneNames_.begin(), goneNames_.end(), [&](const auto& gone) {
      return gone.first == link && gone.second.nameHash == file.nameHash;
    });
    if (name == goneNames_.end()) continue;
    LinkedFile& linked = result_.links.files[link];
    name->second.folder = places[file.folder];
    result_.links.names[linked.first + linked.count++] = name->second;
    returnedNames_.push_back(*name);
    goneNames_.erase(name);
  }
  // In a survey, parents have lower indices than their children.
  for (std::size_t i = places.size(); i-- > 0;) {
    FolderDisk& folder = result_.disk[places[i]];
    folder.totalDisk += folder.ownDisk;
    folder.totalBack += folder.ownBack;
    folder.totalCloud += folder.ownCloud;
    if (i == 0) break;
    FolderDisk& parent = result_.disk[result_.folders[places[i]].parent];
    parent.totalDisk += folder.totalDisk;
    parent.totalBack += folder.totalBack;
    parent.totalCloud += folder.totalCloud;
  }
  const FolderDisk now = result_.disk[places.front()];
  changeTotals(result_, result_.folders[places.front()].parent,
               {static_cast<std::int64_t>(now.totalDisk), static_cast<std::int64_t>(now.totalBack),
                static_cast<std::int64_t>(now.totalCloud)});
}

void DiskUpdate::linkKept(const ScanResult& survey, std::vector<FileEntry>& files) const {
  if (result_.links.files.empty()) return;
  using Key = std::pair<std::uint32_t, std::uint32_t>; // folder and name
  std::map<Key, std::uint32_t> links;
  for (const MetFile& file : survey.met) {
    const std::uint32_t link = result_.links.find(file.id);
    if (link != kNoLink) links.emplace(Key{file.folder, file.nameHash}, link);
  }
  for (FileEntry& file : files) {
    const auto at = links.find({file.folder, foldedHash(file.name)});
    if (at != links.end()) file.link = at->second;
  }
}

void DiskUpdate::addFolder() {
  if (!result_.disk.empty()) result_.disk.emplace_back();
}

void DiskUpdate::takeFromTypes(TypeTotals& types, const NameOfLink& name) const {
  if (name.second.type >= result_.links.types.size()) return;
  const auto at = types.find(result_.links.types[name.second.type]);
  if (at == types.end()) return;
  const LinkedFile& file = result_.links.files[name.first];
  if (result_.links.complete) {
    take(at->second.bytes, file.size);
    take(at->second.files, 1);
  }
  take(at->second.disk, file.disk);
  take(at->second.back, file.disk);
  take(at->second.cloud, file.cloud);
}

void DiskUpdate::finish(TypeTotals& goneTypes, TypeTotals& newTypes) {
  if (result_.disk.empty()) return;
  for (const NameOfLink& name : returnedNames_) {
    takeFromTypes(goneTypes, name);
    takeFromTypes(newTypes, name);
  }
  for (const NameOfLink& gone : goneNames_) {
    takeFromTypes(goneTypes, gone);
    const auto& [link, name] = gone;
    LinkedFile& file = result_.links.files[link];
    // In the bin it is still a name of the file.
    if (bin_ == kNoFolder || share_ < 1) continue;
    if (result_.links.complete) { // and what came into the bin counts with the file
      takeSize(result_.folders, bin_, 0, file.size);
      take(result_.fileCount, 1);
      take(result_.byteCount, file.size);
    }
    LinkName binned = name;
    binned.folder = bin_;
    binned.nameAt = kNoText; // the bin renames it
    result_.links.names[file.first + file.count++] = binned;
  }
  for (const std::uint32_t link : released_) {
    orderNames(result_, result_.links.files[link]);
    countSize(result_.links.files[link]);
    attachLink(result_, result_.links.files[link]);
  }
  if (bin_ == kNoFolder) return;
  const std::uint64_t disk = part(goneDisk_, share_);
  const std::uint64_t cloud = part(goneCloud_, share_);
  result_.disk[bin_].addFile(disk, cloud, true);
  changeTotals(result_, bin_,
               {static_cast<std::int64_t>(disk), static_cast<std::int64_t>(disk),
                static_cast<std::int64_t>(cloud)});
}

} // namespace vorda
