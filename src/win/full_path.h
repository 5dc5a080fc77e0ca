// The absolute spelling of a path, as the system reads it.
#pragma once

#include <string>

namespace vorda {

// Returns the path unchanged on failure.
std::wstring fullPath(const std::wstring& path);

// The one spelling of a file or folder that exists: letter case as on disk, no short names
// and no links on the way. fullPath without closing separators when it cannot be opened.
std::wstring resolvedPath(const std::wstring& path);

} // namespace vorda
