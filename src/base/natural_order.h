// Names in the order in which people expect them: "file 9" before "file 10".
#pragma once

#include <string_view>

namespace vorda {

// Negative, zero or positive. Runs of digits compare by their value, everything else
// ignoring case; only equal texts give 0.
int compareNatural(std::wstring_view a, std::wstring_view b);

} // namespace vorda
