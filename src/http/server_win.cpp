#include "http/server.h"

#include "http/connection.h"

#include <winsock2.h>

#include <windows.h>

#include <process.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace vorda {

namespace {

constexpr int kBacklog = 32;
constexpr DWORD kSendTimeoutMs = 120'000;
constexpr std::size_t kSendPiece = 1'048'576;
constexpr std::size_t kBufferedSend = 8'192;
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

class SocketStream final : public ByteStream {
public:
  explicit SocketStream(SOCKET socket) : socket_(socket) {}
  SocketStream(const SocketStream&) = delete;
  SocketStream& operator=(const SocketStream&) = delete;
  ~SocketStream() override {
    shutdown(socket_, SD_SEND);
    discardUnread();
    closesocket(socket_);
  }

  std::size_t receive(char* buffer, std::size_t size, std::chrono::milliseconds wait) override {
    const auto timeout = static_cast<DWORD>(wait.count());
    if (timeout != timeout_) setTimeout(SO_RCVTIMEO, timeout);
    timeout_ = timeout;
    const int count = recv(socket_, buffer, static_cast<int>(size), 0);
    moreMayWait_ = count == static_cast<int>(size);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  }

  bool send(std::string_view bytes) override {
    // A small response fits into the socket's send buffer and cannot block.
    if (bytes.size() > kBufferedSend) setTimeout(SO_SNDTIMEO, kSendTimeoutMs);
    while (!bytes.empty()) {
      const auto piece = static_cast<int>(std::min(bytes.size(), kSendPiece));
      const int sent = ::send(socket_, bytes.data(), piece, 0);
      if (sent < 1) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

private:
  void setTimeout(int option, DWORD timeoutMs) {
    setsockopt(socket_, SOL_SOCKET, option, reinterpret_cast<const char*>(&timeoutMs),
               sizeof timeoutMs);
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

  SOCKET socket_;
  DWORD timeout_ = 0;
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

void serve(ServerState& server, SOCKET socket) {
  SocketStream stream(socket);
  serveConnection(stream, server.handler, server.heldBytes);
}

// Runs until the server stops listening on this socket; it may have been restarted on another.
void acceptAndServe(ServerState& server, SOCKET listener) {
  const auto current = [&server, listener] {
    return server.running.load() && server.listenSocket.load() == listener;
  };
  while (current()) {
    const SOCKET socket = accept(listener, nullptr, nullptr);
    if (socket == INVALID_SOCKET) {
      if (current()) Sleep(kPauseMs); // out of resources; try again later
      continue;
    }
    --server.idle;
    keepThreadsWaiting(server, listener);
    serve(server, socket);
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
  auto thread = std::make_unique<Thread>(Thread{server, listener});
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
