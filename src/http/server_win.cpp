#include "http/server.h"

#include "http/connection.h"

#include <winsock2.h>

#include <windows.h>

#include <process.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace vorda {

namespace {

constexpr int kBacklog = SOMAXCONN; // so that a burst of connections is not told to try again
constexpr std::size_t kSendPiece = 1'048'576;
// How soon a connection that has to give up its place does so.
constexpr std::chrono::milliseconds kWaitStep{50};
// Further connections wait in the listen queue; many more threads could exhaust the process.
constexpr unsigned kMaxThreads = 2'048;
// How many threads wait for connections: enough to absorb a burst.
constexpr unsigned kMinIdle = 8;
constexpr unsigned kMaxIdle = 24;
constexpr unsigned kThreadStack = 262'144;
constexpr int kDiscardPieces = 256;
constexpr DWORD kPauseMs = 20; // after a failed accept, and between polls
constexpr DWORD kStopWaitMs = 1'000;

static_assert(kNoSocket == static_cast<SocketNumber>(INVALID_SOCKET));

// A non-blocking socket. Waiting is done in short steps, because the connection may have to give up
// its place meanwhile, and no other thread may touch its socket.
class SocketStream final : public ByteStream {
public:
  explicit SocketStream(SOCKET socket) : socket_(socket) {
    u_long nonBlocking = 1;
    ioctlsocket(socket_, static_cast<long>(FIONBIO), &nonBlocking);
  }
  SocketStream(const SocketStream&) = delete;
  SocketStream& operator=(const SocketStream&) = delete;
  ~SocketStream() override {
    endSending();
    discardUnread();
    closesocket(socket_);
  }

  // Whoever sits here; before any other use.
  void seat(const ConnectionSeat& seat) { seat_ = &seat; }

  std::size_t receive(char* buffer, std::size_t size, std::chrono::milliseconds wait) override {
    const auto deadline = now() + wait;
    int count = 0;
    do {
      count = recv(socket_, buffer, static_cast<int>(size), 0);
    } while (count == SOCKET_ERROR && WSAGetLastError() == WSAEWOULDBLOCK &&
             becomesReady(Direction::receiving, deadline));
    moreMayWait_ = count == static_cast<int>(size);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  }

  bool send(std::string_view bytes, std::chrono::milliseconds wait) override {
    while (!bytes.empty()) {
      std::string_view piece = bytes.substr(0, kSendPiece);
      bytes.remove_prefix(piece.size());
      for (const auto deadline = now() + wait; !piece.empty();) {
        const int sent = ::send(socket_, piece.data(), static_cast<int>(piece.size()), 0);
        if (sent > 0) {
          piece.remove_prefix(static_cast<std::size_t>(sent));
        } else if (sent == 0 || WSAGetLastError() != WSAEWOULDBLOCK ||
                   !becomesReady(Direction::sending, deadline)) {
          return false;
        }
      }
    }
    return true;
  }

  void endSending() override { shutdown(socket_, SD_SEND); }

private:
  enum class Direction { receiving, sending };

  // False when the time is over, or when the connection has to be closed.
  bool becomesReady(Direction direction, std::chrono::steady_clock::time_point deadline) const {
    while (!seat_->mustClose()) {
      const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - now());
      if (left.count() <= 0) return false;
      const auto step = std::min<std::chrono::microseconds>(left, kWaitStep);
      timeval timeout = {0, static_cast<long>(step.count())};
      fd_set sockets{};
      FD_SET(socket_, &sockets);
      const bool receiving = direction == Direction::receiving;
      const int ready = select(0, receiving ? &sockets : nullptr, receiving ? nullptr : &sockets,
                               nullptr, &timeout);
      if (ready != 0) return ready > 0;
    }
    return false;
  }

  // Closing a socket with unread bytes resets the connection, and the client might lose the
  // response.
  void discardUnread() {
    char bytes[4096];
    u_long waiting = 0;
    for (int piece = 0; moreMayWait_ && piece < kDiscardPieces; ++piece) {
      if (ioctlsocket(socket_, FIONREAD, &waiting) != 0 || waiting == 0) return;
      if (recv(socket_, bytes, sizeof bytes, 0) < 1) return;
    }
  }

  const SOCKET socket_;
  const ConnectionSeat* seat_ = nullptr;
  bool moreMayWait_ = false; // the last receive filled its buffer
};

struct Thread {
  ServerState& server;
  SOCKET listener;
};

bool startThread(ServerState& server, SOCKET listener);

// Starts threads until enough are idle. Only one thread at a time does this.
void keepThreadsWaiting(ServerState& server, SOCKET listener) {
  if (server.idle.load() >= kMinIdle || server.starting.exchange(true)) return;
  while (server.running && server.idle.load() < kMinIdle && server.threads.load() < kMaxThreads) {
    if (!startThread(server, listener)) break;
  }
  server.starting = false;
}

// The last catch: whatever a connection runs into, memory above all, only ends that connection.
void serve(ServerState& server, SOCKET listener, SOCKET socket, const sockaddr_in& peer) {
  SocketStream stream(socket);
  bool idle = true;
  const auto busy = [&] {
    if (!std::exchange(idle, false)) return;
    --server.idle;
    keepThreadsWaiting(server, listener);
  };
  try {
    // Only then others take over waiting for connections: while many are closing, nobody should.
    const auto seat = server.connections.enter(ntohl(peer.sin_addr.s_addr));
    busy();
    stream.seat(*seat);
    if (!seat->mustClose()) serveConnection(stream, server.gate, *seat);
  } catch (...) {
    busy(); // the count of idle threads has to be right
  }
}

// Runs until the server stops listening on this socket; it may have been restarted on another.
void acceptAndServe(ServerState& server, SOCKET listener) {
  const auto current = [&server, listener] {
    return server.running.load() && server.listenSocket.load() == listener;
  };
  while (current()) {
    sockaddr_in peer{};
    int length = sizeof peer;
    const SOCKET socket = accept(listener, reinterpret_cast<sockaddr*>(&peer), &length);
    if (socket == INVALID_SOCKET) {
      if (current()) Sleep(kPauseMs); // out of resources; try again later
      continue;
    }
    serve(server, listener, socket, peer);
    if (++server.idle > kMaxIdle) break;
  }
  --server.idle;
}

unsigned __stdcall serverThread(void* argument) {
  const std::unique_ptr<Thread> thread(static_cast<Thread*>(argument));
  acceptAndServe(thread->server, thread->listener);
  --thread->server.threads;
  return 0;
}

// False when the system cannot create a thread; the server then goes on with those it has.
bool startThread(ServerState& server, SOCKET listener) {
  std::unique_ptr<Thread> thread(new (std::nothrow) Thread{server, listener});
  if (!thread) return false;
  ++server.threads;
  ++server.idle; // counted before it runs, so that no other thread is started in its place
  const std::uintptr_t handle = _beginthreadex(nullptr, kThreadStack, serverThread, thread.get(),
                                               STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (handle == 0) {
    --server.threads;
    --server.idle;
    return false;
  }
  thread.release(); // NOLINT(bugprone-unused-return-value): owned by the thread now
  CloseHandle(reinterpret_cast<HANDLE>(handle));
  return true;
}

SOCKET openListener(std::uint16_t port, bool network, std::wstring& reason) {
  WSADATA data;
  if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
    reason = L"could not start winsock";
    return INVALID_SOCKET;
  }
  const SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  if (listener == INVALID_SOCKET) {
    reason = L"could not create socket";
    return INVALID_SOCKET;
  }
  const int exclusive = 1;
  setsockopt(listener, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&exclusive),
             sizeof exclusive);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(network ? INADDR_ANY : INADDR_LOOPBACK);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    reason = L"port " + std::to_wstring(port) + L" is in use";
  } else if (listen(listener, kBacklog) != 0) {
    reason = L"could not listen";
  } else {
    return listener;
  }
  closesocket(listener);
  return INVALID_SOCKET;
}

} // namespace

bool startServer(ServerState& server, std::uint16_t port, bool network, std::wstring& reason) {
  const SOCKET listener = openListener(port, network, reason);
  if (listener == INVALID_SOCKET) return false;
  sockaddr_in bound{};
  int length = sizeof bound;
  getsockname(listener, reinterpret_cast<sockaddr*>(&bound), &length);
  server.actualPort = ntohs(bound.sin_port);
  server.listenSocket = listener;
  server.running = true;
  if (startThread(server, listener)) return true;
  reason = L"could not listen";
  stopServer(server);
  return false;
}

void stopServer(ServerState& server) {
  server.running = false;
  const SocketNumber socket = server.listenSocket.exchange(kNoSocket);
  if (socket == kNoSocket) return;
  closesocket(static_cast<SOCKET>(socket));
  // The port is released when the last thread has returned from accept.
  for (DWORD waited = 0; server.idle.load() > 0 && waited < kStopWaitMs; waited += kPauseMs) {
    Sleep(kPauseMs);
  }
}

} // namespace vorda
