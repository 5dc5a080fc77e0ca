#include "http/server.h"
#include "win/handles.h"
#include "win/port_in_use.h"

#include <doctest/doctest.h>

#include <winsock2.h>

#include <windows.h>

#include <memory>

using namespace vorda;

namespace {

// Leaked on purpose: server threads may outlive the test.
ServerState& startedServer(std::function<HttpResponse(HttpRequest&)> handle) {
  ServerState& server = *std::make_unique<ServerState>().release();
  server.gate.handle = std::move(handle);
  std::wstring reason;
  REQUIRE(startServer(server, 0, false, reason));
  return server;
}

class Client {
public:
  explicit Client(const ServerState& server) : socket_(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(server.actualPort));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected = connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() { closesocket(socket_); }

  void sendAll(std::string_view bytes) {
    while (!bytes.empty()) {
      const int sent = send(socket_, bytes.data(), static_cast<int>(bytes.size()), 0);
      if (sent < 1) return;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
  }

  // Receives up to this many bytes, or to the end of the stream.
  std::string receive(std::size_t most = ~std::size_t{0}) {
    std::string received;
    char piece[65'536];
    while (received.size() < most) {
      const int wanted = static_cast<int>(std::min(sizeof piece, most - received.size()));
      const int count = recv(socket_, piece, wanted, 0);
      if (count < 1) break;
      received.append(piece, static_cast<std::size_t>(count));
    }
    return received;
  }

  bool connected = false;

private:
  SOCKET socket_;
};

constexpr const char* kGet = "GET / HTTP/1.1\r\n\r\n";

} // namespace

TEST_CASE("a port in use is refused; stopping releases it") {
  ServerState& server = startedServer([](const HttpRequest&) { return okAnswer(); });
  const auto port = static_cast<std::uint16_t>(server.actualPort);
  ServerState second;
  std::wstring reason;
  CHECK_FALSE(startServer(second, port, false, reason));
  CHECK(reason == L"port " + std::to_wstring(port) + L" is in use");
  CHECK_FALSE(second.running);
  stopServer(server);
  stopServer(server);
  CHECK_FALSE(Client(server).connected);
  REQUIRE(startServer(server, port, false, reason));
  Client again(server);
  again.sendAll(kGet);
  CHECK(again.receive().ends_with("\r\n\r\n{\"ok\":true}"));
  stopServer(server);
}

TEST_CASE("a port is in use while somebody accepts connections there") {
  ServerState& server = startedServer([](HttpRequest&) { return HttpResponse{}; });
  const auto port = static_cast<std::uint16_t>(server.actualPort.load());
  CHECK(portInUse(port));
  stopServer(server);
  CHECK(!portInUse(port));
  // Taken, but served by nobody.
  const SocketHandle holder(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  REQUIRE(bind(holder.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
  int length = sizeof address;
  getsockname(holder.get(), reinterpret_cast<sockaddr*>(&address), &length);
  std::wstring reason;
  CHECK(!startServer(server, ntohs(address.sin_port), false, reason));
  CHECK(!portInUse(ntohs(address.sin_port)));
}
