// The local HTTP server: one request per connection, every answer closes it.
//
// Threads take turns at accepting: the one that gets a connection serves it itself, after
// seeing to it that another one waits at the door. So a request costs no hand-over and
// seldom a new thread, and silent connections hold up nobody but their own thread.
#pragma once

#include "http/message.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

namespace vorda {

using RequestHandler = std::function<HttpResponse(const HttpRequest&)>;

// A socket as a number; the platform's invalid socket is kNoSocket.
using SocketNumber = std::uintptr_t;
inline constexpr SocketNumber kNoSocket = ~SocketNumber{0};

// One per process. It is shared with threads that nobody waits for, so it must live until
// the process ends.
struct ServerState {
  std::atomic<bool> running{false};
  std::atomic<SocketNumber> listenSocket{kNoSocket};
  std::atomic<std::uint32_t> actualPort{0};
  std::atomic<unsigned> threads{0};        // that accept and serve
  std::atomic<unsigned> idle{0};           // of these, the ones that wait for a connection
  std::atomic<bool> starting{false};       // a thread is starting others
  std::atomic<std::uint64_t> heldBytes{0}; // in buffers that wait for more bytes
  RequestHandler handler;                  // set before the server starts
};

// Listens on the port (0: the system chooses) of the loopback address, or of all IPv4
// addresses with network set, and starts to accept. False with the reason as a text for
// people: "could not start winsock", "could not create socket", "port N is in use",
// "could not listen".
bool startServer(ServerState& server, std::uint16_t port, bool network, std::wstring& reason);

// Ends accepting: clears running and closes the listening socket, exactly once however
// many callers there are, and waits up to a second until the port is given back.
// Connections that are being served finish by themselves.
void stopServer(ServerState& server);

} // namespace vorda
