// Stands in for ssh.exe, because under Wine a Windows program gets neither the output nor the exit
// code of a Unix program. It sends its arguments and environment to a relay on port VORDA_SSH_RELAY,
// which runs the real ssh and sends back frames: one byte for the kind, four for the length of the
// data or the exit code (little-endian), then the data.
#include "base/text.h"
#include "win/handles.h"

#include <windows.h>

#include <cstdlib>
#include <vector>

namespace {

constexpr unsigned char kExit = 0;
constexpr unsigned char kToError = 2;
constexpr int kBroken = 255;

bool receiveAll(SOCKET relay, char* buffer, int size) {
  int count = 1;
  for (; size > 0 && count > 0; buffer += count, size -= count)
    count = recv(relay, buffer, size, 0);
  return count > 0;
}

std::string describeStart(int argc, wchar_t** argv) {
  std::string text;
  const auto add = [&text](const wchar_t* value) {
    text.append(vorda::toUtf8(value)).push_back('\0');
  };
  char byte = 0;
  DWORD count = 0;
  ReadFile(GetStdHandle(STD_INPUT_HANDLE), &byte, 1, &count, nullptr);
  add(count == 0 ? L"nothing to read" : L"input");
  for (int i = 0; i < argc; ++i) add(argv[i]);
  add(L"");
  // Not freed: the process is short-lived.
  for (const wchar_t* at = GetEnvironmentStringsW(); *at != L'\0'; at += std::wcslen(at) + 1)
    add(at);
  add(L"");
  return text;
}

} // namespace

extern "C" int wmain(int argc, wchar_t** argv) {
  WSADATA data;
  WSAStartup(MAKEWORD(2, 2), &data);
  const vorda::SocketHandle relay(socket(AF_INET, SOCK_STREAM, 0));
  const char* port = std::getenv("VORDA_SSH_RELAY");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port =
      htons(static_cast<u_short>(port == nullptr ? 0 : std::strtoul(port, nullptr, 10)));
  if (connect(relay.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
    return kBroken;
  const std::string start = describeStart(argc, argv);
  send(relay.get(), start.data(), static_cast<int>(start.size()), 0);
  unsigned char head[5];
  std::vector<char> bytes;
  while (receiveAll(relay.get(), reinterpret_cast<char*>(head), 5)) {
    const int number = head[1] | head[2] << 8 | head[3] << 16 | head[4] << 24;
    if (head[0] == kExit) return number;
    bytes.resize(static_cast<std::size_t>(number));
    if (!receiveAll(relay.get(), bytes.data(), number)) break;
    const HANDLE to = GetStdHandle(head[0] == kToError ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    DWORD written = 0;
    if (WriteFile(to, bytes.data(), static_cast<DWORD>(number), &written, nullptr) == FALSE) break;
  }
  return kBroken;
}
