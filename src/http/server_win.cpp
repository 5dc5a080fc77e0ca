#include "http/server.h"

#include "http/connection.h"
#include "http/socket_win.h"

#include <winsock2.h>

#include <windows.h>

#include <process.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <new>
#include <utility>

namespace vorda {

namespace {

constexpr int kBacklog = SOMAXCONN; // so that a burst of connections is not told to try again
// Further complete requests wait for a thread; many more threads could exhaust the process.
constexpr unsigned kMaxThreads = 2'048;
// At most so many threads do something else than handling a complete request: accept, read, judge.
// Each of them costs memory, and strangers can cause it.
constexpr unsigned kMaxReading = 24;
// As many more may be started for connections that waited.
constexpr unsigned kMaxFurther = 8;
// How many threads wait for connections: enough to absorb a burst.
constexpr unsigned kMinIdle = 4;
constexpr unsigned kMaxIdle = 12;
constexpr unsigned kThreadStack = 262'144;
// How long a thread waits itself for a client that may be about to go on, how many do so, and how long
// a thread serves a connection in all, other than computing for it. Then it goes to the waiting room.
constexpr std::chrono::milliseconds kLinger{20};
constexpr unsigned kMaxLingering = 8;
constexpr std::chrono::milliseconds kServeTime{200};
// Watching many sockets takes long, so more of them become ready before the next round.
constexpr std::size_t kGuestsPerMs = 32;
constexpr DWORD kMaxRoundPauseMs = 20;
constexpr DWORD kPauseMs = 20; // after a failed accept, and between polls
constexpr DWORD kStopWaitMs = 1'000;

using Clock = std::chrono::steady_clock;
using Need = Connection::Need;

struct Thread {
  ServerState& server;
  SOCKET listener;
  std::unique_ptr<Connection> connection; // the first to serve, if any
};

bool startThread(ServerState& server, SOCKET listener, unsigned bound,
                 std::unique_ptr<Connection>* connection = nullptr);

// Starts threads until enough are idle. Only one thread at a time does this.
void keepThreadsWaiting(ServerState& server, SOCKET listener) {
  if (server.idle.load() >= kMinIdle || server.starting.exchange(true)) return;
  while (server.running && server.idle.load() < kMinIdle) {
    if (!startThread(server, listener, kMaxReading)) break;
  }
  server.starting = false;
}

// Adds one for as long as it lives.
class Counted {
public:
  explicit Counted(std::atomic<unsigned>& count) : count_(count), before_(count++) {}
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --count_; }
  unsigned before() const { return before_; }

private:
  std::atomic<unsigned>& count_;
  const unsigned before_;
};

void compute(ServerState& server, SOCKET listener, Connection& connection) {
  if (!connection.isComplete()) return connection.compute(Clock::now());
  const Counted handling(server.handling);
  keepThreadsWaiting(server, listener); // it does not count as reading now
  connection.compute(Clock::now());
}

bool comesSoon(ServerState& server, const Connection& connection, Need need) {
  if (need == Need::room) return false;
  const Counted lingering(server.lingering);
  return lingering.before() < kMaxLingering && comesWithin(connection.socket(), need, kLinger);
}

// Serves a connection until it is over, or is given to the waiting room.
void serve(ServerState& server, SOCKET listener, std::unique_ptr<Connection> connection) {
  auto serveEnd = Clock::now() + kServeTime;
  Need need = connection->advance(Clock::now());
  while (need != Need::over) {
    if (need == Need::thread) {
      compute(server, listener, *connection);
      serveEnd = Clock::now() + kServeTime;
    } else if (Clock::now() >= serveEnd || !comesSoon(server, *connection, need)) {
      server.waiting.enter(std::move(connection), need);
      server.watch->wake();
      return;
    }
    need = connection->advance(Clock::now());
  }
}

// The last catch: whatever a connection runs into, memory above all, only ends that connection.
void serveSocket(ServerState& server, SOCKET listener, SOCKET socket, const sockaddr_in& peer) {
  bool idle = true;
  const auto busy = [&] {
    if (!std::exchange(idle, false)) return;
    --server.idle;
    keepThreadsWaiting(server, listener);
  };
  std::unique_ptr<SocketStream> stream(new (std::nothrow) SocketStream(socket));
  if (!stream) closesocket(socket);
  try {
    // Only then others take over waiting for connections: while many are closing, nobody should.
    auto seat = server.connections.enter(ntohl(peer.sin_addr.s_addr));
    busy();
    if (stream && !seat->mustClose()) {
      serve(server, listener,
            std::make_unique<Connection>(std::move(stream), server.gate, std::move(seat),
                                         Clock::now()));
    }
  } catch (...) {
    busy(); // the count of idle threads has to be right
  }
}

// Runs until the server stops listening on this socket; it may have been restarted on another.
void acceptAndServe(ServerState& server, SOCKET listener) {
  const auto current = [&server, listener] {
    return server.running.load() && server.listenSocket.load() == listener;
  };
  while (server.idle.load() <= kMaxIdle && current()) {
    sockaddr_in peer{};
    int length = sizeof peer;
    const SOCKET socket = accept(listener, reinterpret_cast<sockaddr*>(&peer), &length);
    if (socket == INVALID_SOCKET) {
      if (current()) Sleep(kPauseMs); // out of resources; try again later
      continue;
    }
    serveSocket(server, listener, socket, peer);
    ++server.idle;
  }
  --server.idle;
}

unsigned __stdcall serverThread(void* argument) {
  const std::unique_ptr<Thread> thread(static_cast<Thread*>(argument));
  ServerState& server = thread->server;
  if (thread->connection) {
    try {
      serve(server, thread->listener, std::move(thread->connection));
    } catch (...) {
      // The same last catch; the connection is gone.
    }
    ++server.idle;
  }
  acceptAndServe(server, thread->listener);
  --server.threads;
  return 0;
}

bool startDetached(unsigned(__stdcall* run)(void*), void* argument) {
  const std::uintptr_t handle = _beginthreadex(nullptr, kThreadStack, run, argument,
                                               STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (handle == 0) return false;
  CloseHandle(reinterpret_cast<HANDLE>(handle));
  return true;
}

// A thread that serves the connection, or waits for one. False when there are too many, or when the system
// cannot create a thread; the server then goes on with those it has.
bool startThread(ServerState& server, SOCKET listener, unsigned bound,
                 std::unique_ptr<Connection>* connection) {
  const unsigned before = server.threads++;
  std::unique_ptr<Thread> thread;
  if (before < kMaxThreads && before < bound + server.handling) {
    thread.reset(new (std::nothrow) Thread{server, listener, nullptr});
  }
  if (!thread) {
    --server.threads;
    return false;
  }
  // An idle one is counted before it runs, so that no other thread is started in its place.
  if (connection == nullptr) {
    ++server.idle;
  } else {
    thread->connection = std::move(*connection);
  }
  if (startDetached(serverThread, thread.get())) {
    thread.release(); // NOLINT(bugprone-unused-return-value): owned by the thread now
    return true;
  }
  --server.threads;
  if (connection == nullptr) {
    --server.idle;
  } else {
    *connection = std::move(thread->connection);
  }
  return false;
}

// Lets the connections in the waiting room go on, for as long as the process lives.
unsigned __stdcall watchThread(void* argument) {
  ServerState& server = *static_cast<ServerState*>(argument);
  const auto start = [&server](std::unique_ptr<Connection>& connection) {
    const auto listener = static_cast<SOCKET>(server.listenSocket.load());
    return startThread(server, listener, kMaxReading + kMaxFurther, &connection);
  };
  while (true) {
    auto& guests = server.waiting.guests();
    server.watch->wait(guests, server.waiting.patience(Clock::now()));
    server.waiting.goOn(Clock::now(), start);
    const auto pause = static_cast<DWORD>(guests.size() / kGuestsPerMs);
    if (pause > 0) Sleep(std::min(pause, kMaxRoundPauseMs));
  }
}

bool startWatch(ServerState& server) {
  if (server.watch) return true; // it was started before on another port
  const auto watch = std::make_shared<SocketWatch>();
  if (!watch->open()) return false;
  server.watch = watch;
  server.connections.onClosing([&server] { server.watch->wake(); });
  if (startDetached(watchThread, &server)) return true;
  server.watch = nullptr;
  return false;
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
  if (startWatch(server) && startThread(server, listener, kMaxReading)) return true;
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
