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

} // namespace

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

void DiskUpdate::removeFile(std::uint32_t folder, std::wstring_view name, std::uint64_t disk,
                            std::uint64_t cloud) {
  if (result_.disk.empty()) return;
  indexNames();
  const std::uint32_t hash = foldedHash(name);
  if (const std::uint32_t link = linkOf(folder, hash); link != kNoLink) {
    release(link, [folder, hash](const LinkName& one) {
      return one.folder == folder && one.nameHash == hash;
    });
    return;
  }
  FolderDisk& sums = result_.disk[folder];
  disk = std::min(disk, sums.ownDisk);
  cloud = std::min(cloud, sums.ownCloud);
  take(sums.ownDisk, disk);
  take(sums.ownBack, disk);
  take(sums.ownCloud, cloud);
  changeTotals(result_, folder,
               {-static_cast<std::int64_t>(disk), -static_cast<std::int64_t>(disk),
                -static_cast<std::int64_t>(cloud)});
  goneDisk_ += disk;
  goneCloud_ += cloud;
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
    LinkName binned = name;
    binned.folder = bin_;
    binned.nameAt = kNoText; // the bin renames it
    result_.links.names[file.first + file.count++] = binned;
  }
  for (const std::uint32_t link : released_) {
    orderNames(result_, result_.links.files[link]);
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
