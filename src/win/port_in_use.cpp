#include "win/port_in_use.h"

#include "win/handles.h"

namespace vorda {

namespace {

// Windows tries a refused connection several times over two seconds before it reports that.
constexpr long kLongEnoughUs = 333'000;

} // namespace

bool portInUse(std::uint16_t port) {
  const SocketHandle client(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
  if (!client.valid()) return false;
  u_long nonBlocking = 1;
  ioctlsocket(client.get(), static_cast<long>(FIONBIO), &nonBlocking);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
    return true;
  fd_set connected{};
  FD_SET(client.get(), &connected);
  timeval timeout = {0, kLongEnoughUs};
  return select(0, nullptr, &connected, nullptr, &timeout) == 1;
}

} // namespace vorda
