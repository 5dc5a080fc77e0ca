// The path of this program.
#pragma once

#include <string>

namespace vorda {

// The full path of the running executable. Empty on failure.
std::wstring programPath();

} // namespace vorda
