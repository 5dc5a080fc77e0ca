// The common system handles; each closes itself.
#pragma once

#include "win/owned.h"

#include <winsock2.h>

#include <windows.h>

namespace vorda {

// Of a file, a volume, a process snapshot: invalid is INVALID_HANDLE_VALUE.
using FileHandle = Owned<HANDLE, CloseHandle, -1>;

// The share mode for files that others may read, write, rename and delete meanwhile.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Of a running FindFirstFileExW.
using FindHandle = Owned<HANDLE, FindClose, -1>;

// Of a process, thread, event, mutex or access token: invalid is null.
using KernelHandle = Owned<HANDLE, CloseHandle>;

using SocketHandle = Owned<SOCKET, closesocket, -1>;

} // namespace vorda
