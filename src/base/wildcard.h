// Wildcard patterns: "*" matches any run of characters, "?" exactly one.
#pragma once

#include <string_view>

namespace vorda {

// Whether the whole name matches the pattern, ignoring case. A surrogate pair counts as one
// character. Takes O(pattern length * name length) time.
bool matchesWildcard(std::wstring_view pattern, std::wstring_view name);

// Whether the name contains the text, ignoring case. Every name contains the empty text.
bool containsIgnoreCase(std::wstring_view name, std::wstring_view text);

} // namespace vorda
