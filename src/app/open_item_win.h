// Opening folders, files, terminals and properties on behalf of the page.
#pragma once

#include "api/app_state.h"

#include <string>
#include <string_view>

namespace vorda {

// Opens on a thread of its own and returns at once: empty, or why not. The path is never part of a command
// line: the shell gets it as an item, and a terminal as its working folder.
std::string_view openItemSoon(Opening what, const std::wstring& path);

} // namespace vorda
