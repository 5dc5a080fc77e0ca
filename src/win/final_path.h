// Where the system says that an open file or folder lies.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace vorda {

// The final path behind a handle: letter case as on disk, no 8.3 names and no links. flags are
// those of GetFinalPathNameByHandleW. Nothing on failure.
std::optional<std::wstring> finalPath(HANDLE file, DWORD flags);

} // namespace vorda
