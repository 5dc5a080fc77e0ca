// A socket; closes itself.
#pragma once

#include "win/owned.h"

#include <winsock2.h>

namespace vorda {

struct SocketHandleKind {
  using Value = SOCKET;
  static Value none() { return INVALID_SOCKET; }
  static void close(Value value) { closesocket(value); }
};

using SocketHandle = Owned<SocketHandleKind>;

} // namespace vorda
