// Version numbers as text, such as "1.10.0".
#pragma once

#include <string_view>

namespace vorda {

// Whether a text from outside is a version: 3 to 24 characters, digits with 1 to 3 single
// dots between them.
bool isVersionText(std::string_view text);

// Whether the first version is above the second. The numbers between the dots are compared
// from left to right; one that is missing counts as 0, one beyond 32 bits as the highest.
bool isNewer(std::string_view latest, std::string_view current);

} // namespace vorda
