// Windows' own messages for its error codes.
#pragma once

#include <string>

namespace vorda {

// The message for a GetLastError code as one line without a line break, or "error <code>" if
// there is none.
std::wstring errorText(unsigned long code);

} // namespace vorda
