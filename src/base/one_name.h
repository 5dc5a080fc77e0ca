// The names of files as parts of paths.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// Whether a name has a separator or NUL in it, as other systems allow. In a path it would lead to another
// place, which may even be the folder that it was found in.
bool leadsElsewhere(std::wstring_view name);

// A name with U+FFFD in place of these, which leads to nothing.
std::wstring asOneName(std::wstring_view name);

} // namespace vorda
