// Common Windows handles that close themselves.
#pragma once

#include "win/owned.h"

#include <winsock2.h>

#include <windows.h>

namespace vorda {

// From CreateFileW or CreateToolhelp32Snapshot, whose invalid value is not null.
using FileHandle = Owned<HANDLE, CloseHandle, -1>;

// The share mode for files that others may read, write, rename and delete meanwhile.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// From FindFirstFileExW.
using FindHandle = Owned<HANDLE, FindClose, -1>;

// A process, thread, event, mutex or access token.
using KernelHandle = Owned<HANDLE, CloseHandle>;

using SocketHandle = Owned<SOCKET, closesocket, -1>;

} // namespace vorda
