#include "scan/walk/walk_disk.h"

#include <algorithm>

namespace vorda {

namespace {

// All files that were met, with types numbered across workers.
std::vector<MetFile> allFiles(std::vector<MetFiles*>& workers, ScanResult& result) {
  std::unordered_map<std::wstring, std::uint32_t> numbers;
  std::vector<MetFile> all;
  std::size_t count = 0;
  for (const MetFiles* worker : workers) count += worker->files.size();
  all.reserve(count);
  for (MetFiles* worker : workers) {
    std::vector<std::uint32_t> global;
    for (const std::wstring& type : worker->types.types()) {
      const auto [at, added] =
          numbers.try_emplace(type, static_cast<std::uint32_t>(result.links.types.size()));
      if (added) result.links.types.push_back(type);
      global.push_back(at->second);
    }
    for (MetFile file : worker->files) {
      if (file.type != kNoType) file.type = global[file.type];
      all.push_back(file);
    }
    std::vector<MetFile>().swap(worker->files);
  }
  return all;
}

void takeFromFolder(FolderDisk& folder, std::uint64_t disk, std::uint64_t cloud) {
  folder.ownDisk -= std::min(folder.ownDisk, disk);
  folder.ownBack -= std::min(folder.ownBack, disk);
  folder.ownCloud -= std::min(folder.ownCloud, cloud);
}

std::uint64_t cloudPart(const MetFile& file) {
  return file.cloud ? file.size - std::min(file.size, file.disk) : 0;
}

// The files from first to last are one.
void addLink(ScanResult& result, const MetFile* first, const MetFile* last) {
  LinkTable& links = result.links;
  LinkedFile link;
  link.id = first->id;
  link.first = static_cast<std::uint32_t>(links.names.size());
  link.count = static_cast<std::uint32_t>(last - first);
  for (const MetFile* file = first; file != last; ++file) {
    // The entries of the other names may be out of date.
    link.size = std::max(link.size, file->size);
    link.disk = std::max(link.disk, file->disk);
    link.cloud = std::max(link.cloud, cloudPart(*file));
    links.names.push_back({file->folder, file->nameHash, kNoText, file->type});
    takeFromFolder(result.disk[file->folder], file->disk, cloudPart(*file));
    if (file->type == kNoType) continue;
    TypeTotal& type = result.types[links.types[file->type]];
    type.disk -= std::min(type.disk, file->disk);
    type.back -= std::min(type.back, file->disk);
    type.cloud -= std::min(type.cloud, cloudPart(*file));
  }
  links.files.push_back(link);
}

void markKeptFiles(ScanResult& result) {
  const LinkTable& links = result.links;
  if (links.files.empty()) return;
  std::unordered_map<std::uint64_t, std::uint32_t> places;
  const auto keyOf = [](std::uint32_t folder, std::uint32_t hash) {
    return std::uint64_t{folder} << 32U | hash;
  };
  for (std::uint32_t i = 0; i < links.files.size(); ++i) {
    for (std::uint32_t n = 0; n < links.files[i].count; ++n) {
      const LinkName& name = links.names[links.files[i].first + n];
      places.emplace(keyOf(name.folder, name.nameHash), i);
    }
  }
  for (FileEntry& file : result.files) {
    const auto at = places.find(keyOf(file.folder, foldedHash(file.name)));
    if (at != places.end()) file.link = at->second;
  }
}

} // namespace

std::uint32_t NumberedTypes::add(std::wstring_view fileName, const TypeTotal& more) {
  const TypeKey key(fileName);
  auto at = numbers_.find(key.view());
  if (at == numbers_.end()) {
    at = numbers_.emplace(key.view(), static_cast<std::uint32_t>(types_.size())).first;
    types_.emplace_back(key.view());
    totals_.emplace_back();
  }
  totals_[at->second].add(more);
  return at->second;
}

void NumberedTypes::moveInto(TypeTotals& totals) {
  for (std::size_t i = 0; i < types_.size(); ++i) totals[types_[i]].add(totals_[i]);
  totals_.clear();
}

void addLinks(std::vector<MetFiles*>& workers, ScanResult& result) {
  std::vector<MetFile> files = allFiles(workers, result);
  std::sort(files.begin(), files.end(),
            [](const MetFile& a, const MetFile& b) { return a.id < b.id; });
  const MetFile* end = files.data() + files.size();
  for (const MetFile* at = files.data(); at != end;) {
    const MetFile* next = at + 1;
    while (next != end && next->id == at->id) ++next;
    if (next - at > 1) addLink(result, at, next);
    at = next;
  }
  if (result.links.files.empty()) result.links.types.clear();
  markKeptFiles(result);
}

} // namespace vorda
