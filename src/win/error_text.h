// The system's own words for its error codes.
#pragma once

#include <string>

namespace vorda {

// The message for a code of GetLastError, one line, without the closing line break;
// "error <code>" when the system has none.
std::wstring errorText(unsigned long code);

} // namespace vorda
