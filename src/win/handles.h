// Common Windows handles that close themselves.
#pragma once

#include "win/owned.h"

#include <winsock2.h>

#include <windows.h>

namespace vorda {

// From CreateFileW or CreateToolhelp32Snapshot, whose invalid value is not null.
using FileHandle = Owned<HANDLE, CloseHandle, -1>;

// From FindFirstFileExW.
using FindHandle = Owned<HANDLE, FindClose, -1>;

// A process, thread, event, mutex or access token.
using KernelHandle = Owned<HANDLE, CloseHandle>;

using SocketHandle = Owned<SOCKET, closesocket, -1>;

} // namespace vorda
