#include "scan/folder_table.h"

#include "base/paths.h"

namespace vorda {

std::wstring folderPath(const FolderTable& folders, std::uint32_t index, wchar_t separator) {
  std::vector<std::uint32_t> chain;
  while (index < folders.size()) {
    chain.push_back(index);
    index = folders[index].parent;
  }
  std::wstring path;
  for (auto at = chain.rbegin(); at != chain.rend(); ++at) {
    const std::wstring& name = folders[*at].name;
    if (at == chain.rbegin()) {
      path = name;
    } else {
      appendName(path, name, separator);
    }
  }
  return path;
}

} // namespace vorda
