// Writing bytes to a file or pipe to the end.
#pragma once

#include <windows.h>

#include <string_view>

namespace vorda {

// Returns ERROR_SUCCESS once everything is written, else the error code.
DWORD writeAll(HANDLE file, std::string_view bytes);

} // namespace vorda
