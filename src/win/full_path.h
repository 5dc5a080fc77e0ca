// The absolute spelling of a path, as the system reads it.
#pragma once

#include <string>

namespace vorda {

// The path itself when the system does not tell.
std::wstring fullPath(const std::wstring& path);

} // namespace vorda
