// A handle whose invalid value is null, such as that of a process, an event or an access
// token; closes itself.
#pragma once

#include "win/owned.h"

#include <windows.h>

namespace vorda {

struct KernelHandleKind {
  using Value = HANDLE;
  static Value none() { return nullptr; }
  static void close(Value value) { CloseHandle(value); }
};

using KernelHandle = Owned<KernelHandleKind>;

} // namespace vorda
