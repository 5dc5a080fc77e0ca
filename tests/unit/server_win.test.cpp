#include "http/server.h"
#include "win/handles.h"
#include "win/port_in_use.h"

#include <doctest/doctest.h>

#include <winsock2.h>

#include <windows.h>

#include <memory>

using namespace vorda;

namespace {

struct Peer {
  explicit Peer(std::uint16_t port) {
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  }
  const sockaddr* at() const { return reinterpret_cast<const sockaddr*>(&address); }
  sockaddr_in address{};
  SocketHandle own{socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)};
};

} // namespace

TEST_CASE("a port is in use while a server accepts connections there, and free once that stops") {
  // Leaked on purpose: its threads may outlive the test.
  ServerState& server = *std::make_unique<ServerState>().release();
  server.gate.handle = [](const HttpRequest&) { return okAnswer(); };
  std::wstring reason;
  REQUIRE(startServer(server, 0, false, reason));
  const auto port = static_cast<std::uint16_t>(server.actualPort.load());
  CHECK(portInUse(port));
  ServerState second;
  CHECK_FALSE(startServer(second, port, false, reason));
  CHECK(reason == L"port " + std::to_wstring(port) + L" is in use");
  CHECK_FALSE(second.running);
  stopServer(server);
  stopServer(server);
  CHECK_FALSE(portInUse(port));
  REQUIRE(startServer(server, port, false, reason));
  const Peer client(port);
  REQUIRE(connect(client.own.get(), client.at(), sizeof client.address) == 0);
  send(client.own.get(), "GET / H\r\n\r\n", 11, 0);
  std::string answer;
  for (char one = 0; recv(client.own.get(), &one, 1, 0) == 1;) answer += one;
  CHECK(answer.ends_with("\r\n\r\n{\"ok\":true}"));
  stopServer(server);
  // Taken, but served by nobody.
  Peer holder(0);
  REQUIRE(bind(holder.own.get(), holder.at(), sizeof holder.address) == 0);
  int length = sizeof holder.address;
  getsockname(holder.own.get(), reinterpret_cast<sockaddr*>(&holder.address), &length);
  const std::uint16_t taken = ntohs(holder.address.sin_port);
  CHECK_FALSE(startServer(server, taken, false, reason));
  CHECK_FALSE(portInUse(taken));
}
