// Command lines of Windows programs, which are one text.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// The argument as it must stand on a command line so that the C runtime of the program
// that is started gives it back unchanged: between quotes, with a backslash before each
// quote inside and every backslash that stands before a quote doubled.
std::wstring quoteArgument(std::wstring_view argument);

} // namespace vorda
