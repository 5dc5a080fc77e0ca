#include "app/quit_request_win.h"

#include "app/port_choice.h"
#include "win/handles.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace vorda {

namespace {

constexpr DWORD kTimeoutMs = 400;
constexpr std::string_view kRequest = "POST /api/quit HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                                      "Content-Length: 0\r\nConnection: close\r\n\r\n";

using Sockets = std::vector<SocketHandle>;

void setBlocking(const SocketHandle& handle, bool blocking) {
  u_long nonBlocking = blocking ? 0 : 1;
  ioctlsocket(handle.get(), static_cast<long>(FIONBIO), &nonBlocking);
}

Sockets beginConnections(std::uint32_t firstPort, unsigned ports) {
  Sockets sockets;
  for (std::uint32_t port = firstPort; port < firstPort + ports && isPortNumber(port); ++port) {
    SocketHandle handle(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    if (!handle.valid()) continue;
    setBlocking(handle, false);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(handle.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
        WSAGetLastError() == WSAEWOULDBLOCK) {
      sockets.push_back(std::move(handle));
    }
  }
  return sockets;
}

// Returns the sockets that connect before the time-out.
Sockets connectedOf(Sockets waiting) {
  Sockets connected;
  const ULONGLONG end = GetTickCount64() + kTimeoutMs;
  for (ULONGLONG now = GetTickCount64(); !waiting.empty() && now < end; now = GetTickCount64()) {
    fd_set writable{};
    fd_set failed{};
    for (const SocketHandle& handle : waiting) {
      FD_SET(handle.get(), &writable);
      FD_SET(handle.get(), &failed);
    }
    timeval left = {0, static_cast<long>(end - now) * 1'000};
    if (select(0, nullptr, &writable, &failed, &left) < 1) break;
    Sockets still;
    for (SocketHandle& handle : waiting) {
      const bool refused = FD_ISSET(handle.get(), &failed) != 0;
      const bool ready = FD_ISSET(handle.get(), &writable) != 0;
      if (!refused) (ready ? connected : still).push_back(std::move(handle));
    }
    waiting = std::move(still);
  }
  return connected;
}

bool willQuit(const SocketHandle& handle) {
  setBlocking(handle, true);
  for (const int option : {SO_SNDTIMEO, SO_RCVTIMEO}) {
    setsockopt(handle.get(), SOL_SOCKET, option, reinterpret_cast<const char*>(&kTimeoutMs),
               sizeof kTimeoutMs);
  }
  if (send(handle.get(), kRequest.data(), static_cast<int>(kRequest.size()), 0) < 1) return false;
  char answer[63];
  const int count = recv(handle.get(), answer, sizeof answer, 0);
  return count > 0 && std::string_view(answer, static_cast<std::size_t>(count)).find(" 200") !=
                          std::string_view::npos;
}

} // namespace

unsigned sendQuitRequests(std::uint32_t firstPort, unsigned ports) {
  WSADATA data;
  if (WSAStartup(MAKEWORD(2, 2), &data) != 0) return 0;
  // All at once: Windows takes about two seconds to give up on a port where nothing listens.
  const Sockets sockets = connectedOf(beginConnections(firstPort, ports));
  return static_cast<unsigned>(std::count_if(sockets.begin(), sockets.end(), willQuit));
}

} // namespace vorda
