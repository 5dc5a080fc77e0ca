// One connection: reads a request, asks whether it may be made, lets it be handled and sends the
// response. It never waits itself: it says what it waits for, and whoever owns it comes back then.
// The socket is behind an interface so that tests control how bytes arrive.
#pragma once

#include "http/connection_table.h"
#include "http/held_buffer.h"
#include "http/message.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

// A socket handle; kNoSocket is the invalid one.
using SocketNumber = std::uintptr_t;
inline constexpr SocketNumber kNoSocket = ~SocketNumber{0};

// Neither call waits. Nothing: no bytes can be moved now. 0: the stream ended or failed.
class ByteStream {
public:
  virtual ~ByteStream() = default;
  virtual std::optional<std::size_t> receive(char* buffer, std::size_t size) = 0;
  // May take only a part.
  virtual std::optional<std::size_t> send(std::string_view bytes) = 0;
  // Tells the client that nothing more will be sent.
  virtual void endSending() = 0;
  // To wait for.
  virtual SocketNumber socket() const { return kNoSocket; }
};

inline constexpr std::chrono::milliseconds kReceiveWait{15'000};
inline constexpr std::chrono::milliseconds kSendWait{120'000}; // for each MiB
// For the whole head; and for the whole connection where a key is required and not shown.
inline constexpr std::chrono::milliseconds kHeadWait{60'000};
inline constexpr std::chrono::milliseconds kBodyWait{600'000};        // for the whole body
inline constexpr std::chrono::milliseconds kRoomWait{1'000};          // for memory others give up
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

// Serves one request and is over then. It is over without a response when it has to give up its
// place, when it holds more than it may, when the head is too long, too slow or truncated, and
// when the request line contains no space. A truncated body is passed on as received.
class Connection {
public:
  using TimePoint = std::chrono::steady_clock::time_point;

  enum class Need {
    bytes,  // to arrive
    space,  // to send
    room,   // memory that others are giving up
    thread, // compute() on a thread that has time
    over,   // nothing any more
  };

  // The gate must outlive the connection.
  Connection(std::unique_ptr<ByteStream> stream, const RequestGate& gate,
             std::unique_ptr<ConnectionSeat> seat, TimePoint now);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Goes on as far as that takes no time, and for at most two MiB. To be called again when what it
  // needs is there, at its deadline, and when it must close.
  Need advance(TimePoint now);

  // Judges the request or has it handled. Only when a thread is needed; advance() follows.
  void compute(TimePoint now);

  // When waiting ends in any case.
  TimePoint deadline() const { return deadline_; }
  bool mustClose() const { return seat_->mustClose(); }
  // Whether compute() would handle a complete request, which may take as long as it likes.
  bool isComplete() const { return phase_ == Phase::complete; }
  SocketNumber socket() const { return stream_->socket(); }

private:
  enum class Phase { head, judging, body, complete, answering, draining, over };

  Need wait(Need need, TimePoint now, TimePoint until);
  Need end();
  Need cutOff();
  Need arrived();
  bool headIsComplete();
  Need receive(TimePoint now);
  std::optional<Need> receivePiece(TimePoint now);
  void judge(TimePoint now);
  void handle();
  HttpResponse handled();
  void answerWith(HttpResponse response);
  std::string_view unsent() const;
  Need send(TimePoint now);
  Need endSending(TimePoint now);
  Need drain(TimePoint now);

  // The seat goes last, when all it accounts for is gone.
  std::unique_ptr<ConnectionSeat> seat_;
  std::unique_ptr<ByteStream> stream_;
  const RequestGate& gate_;
  Phase phase_ = Phase::head;
  bool kept_ = false;  // the request was complete
  TimePoint deadline_; // of the present wait
  TimePoint phaseEnd_; // of the head or the body; of all where the connection is not kept
  TimePoint pieceEnd_; // of a receive, a wait for room, or a piece that is sent
  HeldBuffer buffer_;
  std::size_t searchedTo_ = 0; // for the end of the head
  std::size_t headLength_ = 0;
  HttpRequest request_;
  std::uint64_t contentLength_ = 0;
  HttpResponse response_;
  std::string responseHead_;
  std::size_t sent_ = 0;
  std::size_t drained_ = 0;
};

} // namespace vorda
