#include "fileops/measure.h"

#include "base/paths.h"

#include <vector>

namespace vorda {

PathMeasure measurePath(FolderSource& source, const std::wstring& path) {
  struct Pending {
    std::wstring path;
    bool literal;
  };
  PathMeasure measure;
  const PathFacts facts = source.facts(path);
  if (!facts.exists || facts.reparsePoint) return measure;
  if (!facts.folder) {
    measure.bytes = facts.size;
    measure.files = 1;
    return measure;
  }
  const std::unique_ptr<FolderReader> reader = source.reader();
  std::vector<Pending> pending = {{path, false}};
  while (!pending.empty()) {
    const Pending folder = std::move(pending.back());
    pending.pop_back();
    if (!reader->open(folder.path, folder.literal)) {
      ++measure.unreadableFolders;
      continue;
    }
    FolderItem item;
    while (reader->next(item)) {
      if (item.reparsePoint) continue;
      if (item.folder) {
        pending.push_back(
            {joinPath(folder.path, item.name), folder.literal || losesItsEnd(item.name)});
      } else {
        measure.bytes += item.size;
        ++measure.files;
      }
    }
    if (reader->endedEarly()) ++measure.unreadableFolders;
  }
  return measure;
}

} // namespace vorda
