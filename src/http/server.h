// The local HTTP server: one request per connection.
//
// A pool of threads calls accept; each serves what it accepted, after making sure that enough others
// wait in accept. A request that arrives at once is therefore answered without a hand-over. Where a
// client makes the connection wait, the connection goes to the waiting room, which one thread
// watches, and gets a thread again when there is something to compute.
#pragma once

#include "http/connection.h"
#include "http/waiting_room.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace vorda {

class SocketWatch;

// One per process. Detached threads use it, so it must live until the process ends.
struct ServerState {
  std::atomic<bool> running{false};
  std::atomic<SocketNumber> listenSocket{kNoSocket};
  std::atomic<std::uint32_t> actualPort{0};
  std::atomic<unsigned> threads{0};   // in the pool
  std::atomic<unsigned> idle{0};      // of these, waiting for a connection
  std::atomic<unsigned> handling{0};  // of these, handling a complete request
  std::atomic<unsigned> lingering{0}; // of these, waiting for a client that may be about to go on
  std::atomic<bool> starting{false};  // a thread is starting others
  ConnectionTable connections;
  WaitingRoom waiting;
  std::shared_ptr<SocketWatch> watch; // from the first start on, with a thread
  RequestGate gate;                   // set before the server starts
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
