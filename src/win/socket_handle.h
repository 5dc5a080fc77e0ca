// A socket; closes itself.
#pragma once

#include <winsock2.h>

#include <utility>

namespace vorda {

class SocketHandle {
public:
  explicit SocketHandle(SOCKET socket = INVALID_SOCKET) : socket_(socket) {}
  SocketHandle(SocketHandle&& other) noexcept
      : socket_(std::exchange(other.socket_, INVALID_SOCKET)) {}
  SocketHandle& operator=(SocketHandle&& other) noexcept {
    reset(std::exchange(other.socket_, INVALID_SOCKET));
    return *this;
  }
  SocketHandle(const SocketHandle&) = delete;
  SocketHandle& operator=(const SocketHandle&) = delete;
  ~SocketHandle() { reset(); }

  bool valid() const { return socket_ != INVALID_SOCKET; }
  SOCKET get() const { return socket_; }

  void reset(SOCKET socket = INVALID_SOCKET) {
    const SOCKET old = std::exchange(socket_, socket);
    if (old != INVALID_SOCKET) closesocket(old);
  }

private:
  SOCKET socket_ = INVALID_SOCKET;
};

} // namespace vorda
