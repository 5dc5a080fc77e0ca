// Quoting for Windows command lines, which are a single string.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// Quotes an argument so that the C runtime of the started program parses it back unchanged:
// in double quotes, with every inner quote escaped and every backslash before a quote doubled.
std::wstring quoteArgument(std::wstring_view argument);

} // namespace vorda
