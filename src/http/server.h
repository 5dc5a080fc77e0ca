// The local HTTP server: one request per connection.
//
// A pool of threads calls accept; each thread serves the connection it accepted, after
// making sure that enough other threads are waiting in accept. A request therefore needs no
// hand-over between threads, and an idle connection blocks only its own thread.
#pragma once

#include "http/connection.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace vorda {

// A socket handle; kNoSocket is the invalid one.
using SocketNumber = std::uintptr_t;
inline constexpr SocketNumber kNoSocket = ~SocketNumber{0};

// One per process. Detached threads use it, so it must live until the process ends.
struct ServerState {
  std::atomic<bool> running{false};
  std::atomic<SocketNumber> listenSocket{kNoSocket};
  std::atomic<std::uint32_t> actualPort{0};
  std::atomic<unsigned> threads{0};  // in the pool
  std::atomic<unsigned> idle{0};     // of these, waiting for a connection
  std::atomic<bool> starting{false}; // a thread is starting others
  ConnectionTable connections;
  RequestGate gate; // set before the server starts
};

// Starts accepting connections on a port (0: the system chooses) of the loopback address, or
// of all IPv4 addresses if network is set. On failure returns false and a message for the
// user: "could not start winsock", "could not create socket", "port N is in use" or "could
// not listen".
bool startServer(ServerState& server, std::uint16_t port, bool network, std::wstring& reason);

// Stops accepting: clears running, closes the listening socket and waits up to a second for
// the port to be released. May be called more than once and from several threads. Open
// connections finish on their own.
void stopServer(ServerState& server);

} // namespace vorda
