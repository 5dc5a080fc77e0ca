#include "win/full_path.h"

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

} // namespace vorda
