// Serves one connection: reads a request, asks whether it may be made, lets it be handled and sends
// the response. The socket is behind an interface so that tests control how bytes arrive.
#pragma once

#include "http/connection_table.h"
#include "http/message.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace vorda {

class ByteStream {
public:
  virtual ~ByteStream() = default;
  // Waits at most this long for bytes. Returns the number received; 0 on end of stream,
  // error or timeout.
  virtual std::size_t receive(char* buffer, std::size_t size, std::chrono::milliseconds wait) = 0;
  // Sends all bytes, waiting at most this long for each piece of 1 MiB; false on error or timeout.
  virtual bool send(std::string_view bytes, std::chrono::milliseconds wait) = 0;
  // Tells the client that nothing more will be sent.
  virtual void endSending() = 0;
  // The clock behind the time limits.
  virtual std::chrono::steady_clock::time_point now() const {
    return std::chrono::steady_clock::now();
  }
};

inline constexpr std::chrono::milliseconds kReceiveWait{15'000};
inline constexpr std::chrono::milliseconds kSendWait{120'000};
// For the whole head; and for the whole connection where a key is required and not shown.
inline constexpr std::chrono::milliseconds kHeadWait{60'000};
inline constexpr std::chrono::milliseconds kBodyWait{600'000};        // for the whole body
inline constexpr std::size_t kMaxConnectionBytes = 64U * 1024 * 1024; // of one request
// What is read after a refusal, so that it reaches a client that is still sending.
inline constexpr std::size_t kDrainedBytes = 65'536;
inline constexpr std::chrono::milliseconds kDrainWait{1'000};

// What a request may do, judged by its head alone.
enum class Trust {
  none, // a key is required and was not shown: the body is not read
  open, // no key is required
  key,  // the right key was shown
};

struct Admission {
  Trust trust = Trust::open;
  std::optional<HttpResponse> refusal; // sent instead of handling the request
};

struct RequestGate {
  std::function<Admission(const HttpRequest&)> admit; // gets a request without its body
  std::function<HttpResponse(HttpRequest&)> handle;   // may take the body
};

// Serves one request. The connection is closed without a response when it has to give up its
// place, when it holds more than it may, when the head is too long, too slow or truncated, and
// when the request line contains no space. A truncated body is passed on as received.
void serveConnection(ByteStream& stream, const RequestGate& gate, ConnectionSeat& seat);

} // namespace vorda
