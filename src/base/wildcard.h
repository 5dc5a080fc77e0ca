// Name patterns as people type them: "*" is any run of characters, "?" is one.
#pragma once

#include <string_view>

namespace vorda {

// Whether the whole name matches the pattern, ignoring case. "?" takes one character,
// also one that UTF-16 spells with two units. Time is at most pattern x name.
bool matchesWildcard(std::wstring_view pattern, std::wstring_view name);

// Whether the name holds the text somewhere, ignoring case. An empty text is held by
// every name.
bool containsIgnoreCase(std::wstring_view name, std::wstring_view text);

} // namespace vorda
