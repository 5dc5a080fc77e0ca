// Facts about a running process. Each function returns an empty string on failure.
#pragma once

#include <windows.h>

#include <string>

namespace vorda {

// The full path of its executable. The handle needs PROCESS_QUERY_LIMITED_INFORMATION, here
// and below.
std::wstring processImage(HANDLE process);

// The account it runs as, as a SID string.
std::wstring processAccount(HANDLE process);

// Its command line, read from its memory.
std::wstring processCommandLine(DWORD processId);

} // namespace vorda
