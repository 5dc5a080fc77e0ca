#include "scan/turbo/link_build.h"

#include "scan/turbo/tree_build.h"

namespace vorda {

std::uint32_t LinkBuilder::typeOf(const std::wstring& name) {
  const auto [at, added] =
      types_.try_emplace(typeKeyOf(name), static_cast<std::uint32_t>(result_.links.types.size()));
  if (added) result_.links.types.push_back(at->first);
  return at->second;
}

void LinkBuilder::addName(std::uint32_t folder, const PooledName& name) {
  table_.names.read(name, text_);
  result_.links.names.push_back(
      {folder, foldedHash(text_), result_.links.addText(text_), typeOf(text_)});
}

std::uint32_t LinkBuilder::addFile(std::uint32_t record, std::uint32_t folder, const FileDisk& disk,
                                   bool unseen) {
  const std::vector<SideName>& names = table_.sideNames;
  const RecordEntry& entry = table_[record];
  LinkTable& links = result_.links;
  LinkedFile file;
  file.id = record;
  file.size = entry.size;
  file.disk = disk.bytes;
  file.cloud = disk.cloud;
  file.first = static_cast<std::uint32_t>(links.names.size());
  // Names in folders that nobody can delete; those directly in the root can be.
  const auto staysIn = [this](std::uint64_t index) {
    return index != 0 && result_.disk[index].fixed;
  };
  file.stays = unseen || staysIn(folder);
  addName(folder, entry.name());
  for (; next_ < names.size() && names[next_].record == record; ++next_) {
    const SideName& name = names[next_];
    if (name.name.at == entry.nameAt) continue; // the one added first
    const RecordEntry* parent = table_.folderAt(name.parent, name.parentSequence);
    if (parent == nullptr || parent->level > kMostSteps) {
      file.stays = true; // no path leads to it
      continue;
    }
    if (staysIn(parent->folderIndex)) file.stays = true;
    addName(static_cast<std::uint32_t>(parent->folderIndex), name.name);
  }
  file.count = static_cast<std::uint32_t>(links.names.size()) - file.first;
  links.files.push_back(file);
  return static_cast<std::uint32_t>(links.files.size() - 1);
}

} // namespace vorda
