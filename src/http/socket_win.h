// The socket of one connection, and waiting for one or for many of them.
#pragma once

#include "http/connection.h"
#include "http/waiting_room.h"

#include <winsock2.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <list>
#include <optional>
#include <string_view>
#include <vector>

namespace vorda {

static_assert(kNoSocket == static_cast<SocketNumber>(INVALID_SOCKET));

// Owns the socket, and closes it so that the client gets what was sent.
class SocketStream final : public ByteStream {
public:
  explicit SocketStream(SOCKET socket);
  SocketStream(const SocketStream&) = delete;
  SocketStream& operator=(const SocketStream&) = delete;
  ~SocketStream() override;

  std::optional<std::size_t> receive(char* buffer, std::size_t size) override;
  std::optional<std::size_t> send(std::string_view bytes) override;
  void endSending() override { shutdown(socket_, SD_SEND); }
  SocketNumber socket() const override { return socket_; }

private:
  void discardUnread();

  const SOCKET socket_;
  bool moreMayWait_ = false; // the last receive filled its buffer
};

// Whether bytes, or space for bytes, come within this time.
bool comesWithin(SocketNumber socket, Connection::Need need, std::chrono::milliseconds time);

// Waits for the sockets of a waiting room. One thread waits, and any thread wakes it.
class SocketWatch {
public:
  SocketWatch() = default;
  SocketWatch(const SocketWatch&) = delete;
  SocketWatch& operator=(const SocketWatch&) = delete;
  ~SocketWatch();

  // After WSAStartup. False: the system gives no socket.
  bool open();
  // Ends the wait that is going on, or else the next one.
  void wake();
  // Marks the guests that are ready. Nothing: waits until woken.
  void wait(std::list<WaitingRoom::Guest>& guests, std::optional<std::chrono::milliseconds> time);

private:
  // Has the layout of fd_set, whose own capacity is 64.
  static constexpr std::size_t kMostSockets = 2'304;
  struct Sockets {
    u_int count = 0;
    SOCKET sockets[kMostSockets];
    void add(SOCKET socket) {
      if (count < kMostSockets) sockets[count++] = socket;
    }
    bool has(SOCKET socket) const;
    void sort();
    fd_set* set() { return count == 0 ? nullptr : reinterpret_cast<fd_set*>(this); }
  };

  // A datagram socket that is connected to itself: what is sent to it ends the wait.
  SOCKET waker_ = INVALID_SOCKET;
  std::atomic<bool> woken_{false};
  Sockets receiving_;
  Sockets sending_;
};

} // namespace vorda
