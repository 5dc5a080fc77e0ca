#include "win/program_version.h"

#include "win/program_path.h"

#include <windows.h>

#include <vector>

namespace vorda {

std::wstring programVersion() {
  const std::wstring path = programPath();
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
  if (size == 0) return {};
  std::vector<unsigned char> block(size);
  if (GetFileVersionInfoW(path.c_str(), 0, size, block.data()) == FALSE) return {};
  void* value = nullptr;
  UINT length = 0;
  if (VerQueryValueW(block.data(), L"\\", &value, &length) == FALSE ||
      length < sizeof(VS_FIXEDFILEINFO)) {
    return {};
  }
  const auto* info = static_cast<const VS_FIXEDFILEINFO*>(value);
  return std::to_wstring(HIWORD(info->dwFileVersionMS)) + L"." +
         std::to_wstring(LOWORD(info->dwFileVersionMS)) + L"." +
         std::to_wstring(HIWORD(info->dwFileVersionLS));
}

} // namespace vorda
