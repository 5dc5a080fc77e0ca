#include "win/program_path.h"

#include "win/full_path.h"

#include <windows.h>

#include <vector>

namespace vorda {

std::wstring programPath() {
  std::vector<wchar_t> buffer(kLongestPath);
  const DWORD length =
      GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  return length == 0 || length >= buffer.size() ? std::wstring()
                                                : std::wstring(buffer.data(), length);
}

} // namespace vorda
