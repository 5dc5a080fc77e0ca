// Serves one connection: reads a request, calls the handler, sends the response. The socket
// is behind an interface so that tests control how bytes arrive.
#pragma once

#include "http/message.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string_view>

namespace vorda {

class ByteStream {
public:
  virtual ~ByteStream() = default;
  // Waits at most this long for bytes. Returns the number received; 0 on end of stream,
  // error or timeout.
  virtual std::size_t receive(char* buffer, std::size_t size, std::chrono::milliseconds wait) = 0;
  // Sends all bytes; false on error or timeout.
  virtual bool send(std::string_view bytes) = 0;
  // The clock behind the time limits.
  virtual std::chrono::steady_clock::time_point now() const {
    return std::chrono::steady_clock::now();
  }
};

inline constexpr std::chrono::milliseconds kReceiveWait{15'000};
inline constexpr std::chrono::milliseconds kHeadWait{60'000}; // for the whole head

// Serves one request. heldBytes is the number of bytes of incomplete requests buffered by
// all connections together. The connection is closed without a response when that would
// exceed kMaxHeldBytes, when the head is too long, too slow or truncated, and when the
// request line contains no space. A truncated body is passed on as received.
void serveConnection(ByteStream& stream,
                     const std::function<HttpResponse(const HttpRequest&)>& handler,
                     std::atomic<std::uint64_t>& heldBytes);

} // namespace vorda
