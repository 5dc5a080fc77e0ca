#include "win/full_path.h"

#include "base/paths.h"
#include "win/handles.h"

#include <windows.h>

#include <vector>

namespace vorda {

namespace {

constexpr DWORD kLongestPath = 32'768; // in UTF-16 units, with the closing zero

} // namespace

std::wstring fullPath(const std::wstring& path) {
  std::vector<wchar_t> buffer(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr));
  if (buffer.empty()) return path;
  const DWORD length =
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), nullptr);
  return length == 0 || length >= buffer.size() ? path : std::wstring(buffer.data(), length);
}

std::wstring resolvedPath(const std::wstring& path) {
  const std::wstring full = fullPath(path);
  const FileHandle file(CreateFileW(systemPath(full).c_str(), 0,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  std::vector<wchar_t> buffer(kLongestPath);
  const DWORD length = GetFinalPathNameByHandleW(file.get(), buffer.data(), kLongestPath,
                                                 FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
  if (file.valid() && length > 0 && length < kLongestPath) return {buffer.data(), length};
  return full.substr(0, full.find_last_not_of(L"\\/") + 1);
}

} // namespace vorda
