#include "win/final_path.h"

namespace vorda {

std::optional<std::wstring> finalPath(HANDLE file, DWORD flags) {
  std::wstring path(GetFinalPathNameByHandleW(file, nullptr, 0, flags) + 1, L'\0');
  const DWORD length =
      GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()), flags);
  if (length == 0 || length >= path.size()) return std::nullopt;
  path.resize(length);
  return path;
}

} // namespace vorda
