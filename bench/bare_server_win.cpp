// The least that can be called a server: accept, read once, answer, close, on one thread.
// What it manages is what the sockets of the system allow; the real server is compared
// with it.
//
// bare_server_win.exe PORT BYTES
#include <winsock2.h>

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int wmain(int count, wchar_t** arguments) {
  if (count < 3) {
    std::fprintf(stderr, "usage: bare_server_win.exe PORT BYTES\n");
    return 2;
  }
  const auto port = static_cast<unsigned short>(std::wcstoul(arguments[1], nullptr, 10));
  const std::string body(std::wcstoul(arguments[2], nullptr, 10), 'x');
  const std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) +
                             "\r\nConnection: close\r\n\r\n" + body;
  WSADATA data;
  if (WSAStartup(MAKEWORD(2, 2), &data) != 0) return 1;
  const SOCKET listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return 1;
  if (listen(listener, 32) != 0) return 1;
  while (true) {
    const SOCKET client = accept(listener, nullptr, nullptr);
    if (client == INVALID_SOCKET) continue;
    char request[16'384];
    if (recv(client, request, sizeof request, 0) > 0) {
      send(client, answer.data(), static_cast<int>(answer.size()), 0);
    }
    shutdown(client, SD_SEND);
    closesocket(client);
  }
}
