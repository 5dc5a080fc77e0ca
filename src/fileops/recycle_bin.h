// The recycle bins of this machine.
#pragma once

#include <string>

namespace vorda {

// The folder of all users' bins on the drive of a path "X:\…".
std::wstring binFolder(const std::wstring& path);

} // namespace vorda
