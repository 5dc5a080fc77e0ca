// A handle from CreateFileW, whose invalid value is not null; closes itself.
#pragma once

#include "win/owned.h"

#include <windows.h>

namespace vorda {

struct FileHandleKind {
  using Value = HANDLE;
  static Value none() { return INVALID_HANDLE_VALUE; }
  static void close(Value value) { CloseHandle(value); }
};

using FileHandle = Owned<FileHandleKind>;

} // namespace vorda
