#include "http/socket_win.h"

#include <windows.h>

#include <algorithm>

namespace vorda {

namespace {

constexpr int kDiscardPieces = 256;
constexpr DWORD kPauseMs = 20; // after a wait that failed

timeval toTimeval(std::chrono::milliseconds time) {
  return {static_cast<long>(time.count() / 1'000), static_cast<long>(time.count() % 1'000 * 1'000)};
}

void setNonBlocking(SOCKET socket) {
  u_long nonBlocking = 1;
  ioctlsocket(socket, static_cast<long>(FIONBIO), &nonBlocking);
}

// Of a receive or a send.
std::optional<std::size_t> moved(int count) {
  if (count == SOCKET_ERROR && WSAGetLastError() == WSAEWOULDBLOCK) return std::nullopt;
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

} // namespace

SocketStream::SocketStream(SOCKET socket) : socket_(socket) { setNonBlocking(socket); }

SocketStream::~SocketStream() {
  endSending();
  discardUnread();
  closesocket(socket_);
}

std::optional<std::size_t> SocketStream::receive(char* buffer, std::size_t size) {
  const int count = recv(socket_, buffer, static_cast<int>(size), 0);
  moreMayWait_ = count == static_cast<int>(size);
  return moved(count);
}

std::optional<std::size_t> SocketStream::send(std::string_view bytes) {
  return moved(::send(socket_, bytes.data(), static_cast<int>(bytes.size()), 0));
}

// Closing a socket with unread bytes resets the connection, and the client might lose the response.
void SocketStream::discardUnread() {
  char bytes[4096];
  u_long waiting = 0;
  for (int piece = 0; moreMayWait_ && piece < kDiscardPieces; ++piece) {
    if (ioctlsocket(socket_, FIONREAD, &waiting) != 0 || waiting == 0) return;
    if (recv(socket_, bytes, sizeof bytes, 0) < 1) return;
  }
}

bool comesWithin(SocketNumber socket, Connection::Need need, std::chrono::milliseconds time) {
  timeval timeout = toTimeval(time);
  fd_set sockets{};
  FD_SET(static_cast<SOCKET>(socket), &sockets);
  const bool bytes = need == Connection::Need::bytes;
  return select(0, bytes ? &sockets : nullptr, bytes ? nullptr : &sockets, nullptr, &timeout) != 0;
}

SocketWatch::~SocketWatch() {
  if (waker_ != INVALID_SOCKET) closesocket(waker_);
}

bool SocketWatch::open() {
  waker_ = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  if (waker_ == INVALID_SOCKET) return false;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int length = sizeof address;
  auto* const own = reinterpret_cast<sockaddr*>(&address);
  setNonBlocking(waker_);
  return bind(waker_, own, length) == 0 && getsockname(waker_, own, &length) == 0 &&
         connect(waker_, own, length) == 0;
}

void SocketWatch::wake() {
  if (!woken_.exchange(true)) ::send(waker_, "", 1, 0);
}

bool SocketWatch::Sockets::has(SOCKET socket) const {
  return std::binary_search(sockets, sockets + count, socket);
}

void SocketWatch::Sockets::sort() { std::sort(sockets, sockets + count); }

void SocketWatch::wait(std::list<WaitingRoom::Guest>& guests,
                       std::optional<std::chrono::milliseconds> time) {
  receiving_.count = sending_.count = 0;
  receiving_.add(waker_);
  for (const WaitingRoom::Guest& guest : guests) {
    const auto socket = static_cast<SOCKET>(guest.connection->socket());
    if (guest.need == Connection::Need::bytes) receiving_.add(socket);
    if (guest.need == Connection::Need::space) sending_.add(socket);
  }
  timeval timeout = toTimeval(time.value_or(std::chrono::milliseconds(0)));
  const int count = select(0, receiving_.set(), sending_.set(), nullptr, time ? &timeout : nullptr);
  if (count == SOCKET_ERROR) Sleep(kPauseMs); // then all may try
  receiving_.sort();
  sending_.sort();
  for (WaitingRoom::Guest& guest : guests) {
    const auto socket = static_cast<SOCKET>(guest.connection->socket());
    guest.ready = (guest.need == Connection::Need::bytes && receiving_.has(socket)) ||
                  (guest.need == Connection::Need::space && sending_.has(socket));
  }
  char bytes[16];
  while (receiving_.has(waker_) && recv(waker_, bytes, sizeof bytes, 0) > 0) continue;
  woken_ = false; // before the reasons for waking are looked at
}

} // namespace vorda
