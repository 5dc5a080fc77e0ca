// Absolute paths, as the system reads them.
#pragma once

#include <cstdint>
#include <string>

namespace vorda {

// The longest path, in UTF-16 units with the terminating NUL.
inline constexpr std::uint32_t kLongestPath = 32'768;

// Makes a path absolute without accessing the disk. Returns it unchanged on failure.
std::wstring fullPath(const std::wstring& path);

// The final path of an existing file or folder, beginning with "\\?\". fullPath without
// trailing separators if it cannot be opened.
std::wstring resolvedPath(const std::wstring& path);

} // namespace vorda
