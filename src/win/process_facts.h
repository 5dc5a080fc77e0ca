// What can be learnt about a process. Each is empty when the system does not tell.
#pragma once

#include <windows.h>

#include <string>

namespace vorda {

// The full path of its program; the handle has the right of limited queries, as for the
// next one.
std::wstring processImage(HANDLE process);

// The SID of the account it runs under, as text.
std::wstring processAccount(HANDLE process);

// The command line it was started with, read from its memory.
std::wstring processCommandLine(DWORD processId);

} // namespace vorda
