// The handle of a running file search; closes itself.
#pragma once

#include "win/owned.h"

#include <windows.h>

namespace vorda {

struct FindHandleKind {
  using Value = HANDLE;
  static Value none() { return INVALID_HANDLE_VALUE; }
  static void close(Value value) { FindClose(value); }
};

using FindHandle = Owned<FindHandleKind>;

} // namespace vorda
