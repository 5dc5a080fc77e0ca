// One connection: read a request, have it answered, send the answer. The socket is
// behind an interface, so that every way bytes can arrive is tried in a test.
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
  // Waits at most so long for the next bytes. Returns how many came, 0 at the end of the
  // stream, on an error and when the time is over.
  virtual std::size_t receive(char* buffer, std::size_t size, std::chrono::milliseconds wait) = 0;
  // Sends everything; false when the other side did not take it.
  virtual bool send(std::string_view bytes) = 0;
  // A clock that only the limits of time look at.
  virtual std::chrono::steady_clock::time_point now() const {
    return std::chrono::steady_clock::now();
  }
};

inline constexpr std::chrono::milliseconds kReceiveWait{15'000};
inline constexpr std::chrono::milliseconds kHeadWait{60'000}; // for the whole head

// Serves one request. heldBytes counts what all connections together hold of requests
// that are not complete; what would pass its limit, a head that is too long, too slow or
// broken off, and a request line without a blank end the connection without an answer.
// A body that ends early goes on as it is.
void serveConnection(ByteStream& stream,
                     const std::function<HttpResponse(const HttpRequest&)>& handler,
                     std::atomic<std::uint64_t>& heldBytes);

} // namespace vorda
