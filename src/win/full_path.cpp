#include "win/full_path.h"

#include "base/paths.h"
#include "win/final_path.h"
#include "win/handles.h"

#include <windows.h>

#include <vector>

namespace vorda {

std::wstring fullPath(const std::wstring& path) {
  std::vector<wchar_t> buffer(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr));
  if (buffer.empty()) return path;
  const DWORD length =
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), nullptr);
  return length == 0 || length >= buffer.size() ? path : std::wstring(buffer.data(), length);
}

std::wstring resolvedPath(const std::wstring& path) {
  const std::wstring full = fullPath(path);
  const FileHandle file(CreateFileW(systemPath(full).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (file.valid()) {
    if (auto name = finalPath(file.get(), FILE_NAME_NORMALIZED | VOLUME_NAME_DOS)) return *name;
  }
  return full.substr(0, full.find_last_not_of(L"\\/") + 1);
}

} // namespace vorda
