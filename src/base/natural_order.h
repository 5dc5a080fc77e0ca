// Natural sort order for names: "file 9" before "file 10".
#pragma once

#include <string_view>

namespace vorda {

// Negative, zero or positive. Runs of digits compare by value, everything else ignoring
// case; the result is 0 for identical texts only.
int compareNatural(std::wstring_view a, std::wstring_view b);

} // namespace vorda
