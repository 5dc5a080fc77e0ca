// Version numbers such as "1.10.0".
#pragma once

#include <string_view>

namespace vorda {

// Whether this is a valid version: 3 to 24 characters, numbers separated by 1 to 3 dots.
bool isVersionText(std::string_view text);

// Whether latest is a higher version than current. The numbers are compared from left to
// right; missing numbers count as 0, numbers above 2^32 - 1 as 2^32 - 1.
bool isNewer(std::string_view latest, std::string_view current);

} // namespace vorda
