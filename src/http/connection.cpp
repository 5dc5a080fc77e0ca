#include "http/connection.h"

#include "base/secret.h"
#include "http/message_parser.h"

#include <algorithm>
#include <array>
#include <string>

namespace vorda {

namespace {

using std::chrono::milliseconds;
using TimePoint = std::chrono::steady_clock::time_point;

constexpr std::size_t kJoinedPayload = 4'096;
constexpr std::string_view kHeadEnd = "\r\n\r\n";

milliseconds leftUntil(const ByteStream& stream, TimePoint deadline) {
  return std::chrono::duration_cast<milliseconds>(deadline - stream.now());
}

// The receive buffer of one incomplete request. All it allocates is told to the connection's seat
// first. It may hold a password, so its memory is wiped.
class HeldBuffer {
public:
  HeldBuffer(ByteStream& stream, ConnectionSeat& seat) : stream_(stream), seat_(seat) {}
  HeldBuffer(const HeldBuffer&) = delete;
  HeldBuffer& operator=(const HeldBuffer&) = delete;
  ~HeldBuffer() { wipeText(bytes_); }

  enum class Outcome { more, end, refused };

  // Receives one piece. `most` is how many bytes may be held, `expected` how many there will be as
  // far as is known.
  Outcome receive(milliseconds wait, std::size_t most, std::size_t expected) {
    std::array<char, kReceivePiece> piece;
    const std::size_t count = stream_.receive(piece.data(), piece.size(), wait);
    if (seat_.mustClose()) return Outcome::refused;
    if (count == 0) return Outcome::end;
    const std::size_t size = bytes_.size() + count;
    if (size > most || !grow(size, expected)) return Outcome::refused;
    bytes_.append(piece.data(), count);
    wipeUnits(piece.data(), count);
    return Outcome::more;
  }

  const std::string& bytes() const { return bytes_; }
  std::string take() { return std::move(bytes_); }

  // Drops what lies before the start of the body. Until then `copied` further bytes are held.
  bool keepFrom(std::size_t start, std::size_t copied) {
    std::string rest;
    if (!seat_.hold(bytes_.capacity() + copied + (bytes_.size() - start))) return false;
    rest = bytes_.substr(start);
    bytes_.swap(rest);
    wipeText(rest);
    rest = std::string();
    other_ = copied;
    return seat_.hold(other_ + bytes_.capacity());
  }
  // Whether there is room for a copy of so many bytes beside the buffer.
  bool roomFor(std::size_t copied) { return seat_.hold(bytes_.capacity() + copied); }
  void dropBody() { wipeText(bytes_); }

private:
  bool grow(std::size_t size, std::size_t expected) {
    if (size <= bytes_.capacity()) return true;
    const std::size_t doubled = std::max(2 * bytes_.capacity(), size);
    // The last step goes to what is announced, not beyond.
    const std::size_t capacity = size <= expected ? std::min(doubled, expected) : doubled;
    if (!seat_.hold(other_ + bytes_.capacity() + capacity)) return false;
    std::string larger;
    larger.reserve(capacity);
    larger.append(bytes_);
    bytes_.swap(larger);
    wipeText(larger);
    larger = std::string();
    return seat_.hold(other_ + bytes_.capacity());
  }

  ByteStream& stream_;
  ConnectionSeat& seat_;
  std::size_t other_ = 0; // of the request, outside the buffer
  std::string bytes_;
};

// Reads to the end of the head and returns its length, or nothing when the connection has
// to be closed.
std::optional<std::size_t> receiveHead(ByteStream& stream, HeldBuffer& buffer, TimePoint deadline) {
  constexpr std::size_t kMost = kMaxHeadBuffer;
  std::size_t searchedTo = 0;
  while (true) {
    const milliseconds left = leftUntil(stream, deadline);
    if (left.count() <= 0) return std::nullopt;
    if (buffer.receive(std::min(left, kReceiveWait), kMost, kMost) != HeldBuffer::Outcome::more) {
      return std::nullopt;
    }
    const std::size_t end = buffer.bytes().find(kHeadEnd, searchedTo);
    if (end != std::string::npos) return end;
    // The terminator may have begun in the last three bytes.
    searchedTo = buffer.bytes().size() - std::min<std::size_t>(buffer.bytes().size(), 3);
  }
}

// Reads as much of the body as comes; false when the connection has to be closed.
bool receiveBody(ByteStream& stream, HeldBuffer& buffer, std::uint64_t length) {
  const auto expected =
      static_cast<std::size_t>(std::min<std::uint64_t>(length, kMaxConnectionBytes));
  const TimePoint deadline = stream.now() + kBodyWait;
  while (buffer.bytes().size() < length) {
    const milliseconds left = leftUntil(stream, deadline);
    if (left.count() <= 0) return true;
    const HeldBuffer::Outcome outcome =
        buffer.receive(std::min(left, kReceiveWait), kMaxConnectionBytes, expected);
    if (outcome == HeldBuffer::Outcome::refused) return false;
    if (outcome == HeldBuffer::Outcome::end) return true;
  }
  return true;
}

void respond(ByteStream& stream, const HttpResponse& response, milliseconds wait) {
  const std::string_view payload = response.payload();
  std::string head = responseHead(response);
  // A small payload is sent in one piece with the head; a large one is never copied.
  if (payload.size() <= kJoinedPayload) {
    stream.send(head.append(payload), wait);
  } else if (stream.send(head, wait)) {
    stream.send(payload, wait);
  }
}

// Closing a connection whose client is still sending would reset it, and the client could lose the
// response.
void drain(ByteStream& stream) {
  stream.endSending();
  const TimePoint deadline = stream.now() + kDrainWait;
  std::array<char, 4'096> bytes;
  for (std::size_t drained = 0; drained < kDrainedBytes;) {
    const milliseconds left = leftUntil(stream, deadline);
    const std::size_t count =
        left.count() <= 0 ? 0 : stream.receive(bytes.data(), bytes.size(), left);
    if (count == 0) return;
    drained += count;
  }
}

// The rest of a connection, once its head is there.
class Exchange {
public:
  Exchange(ByteStream& stream, const RequestGate& gate, ConnectionSeat& seat, HeldBuffer& buffer,
           TimePoint deadline)
      : stream_(stream), gate_(gate), seat_(seat), buffer_(buffer), deadline_(deadline) {}

  void run(ParsedHead head) {
    HttpRequest& request = head.request;
    request.address = seat_.address();
    const Admission admission = gate_.admit ? gate_.admit(request) : Admission{};
    if (admission.refusal) return answerWithoutBody(*admission.refusal);
    if (admission.trust == Trust::key && !seat_.keep()) return;
    if (admission.trust == Trust::none) {
      buffer_.dropBody();
      return answerWithoutBody(handled(request));
    }
    if (!receiveBody(stream_, buffer_, head.contentLength) || !seat_.keep()) return;
    request.body = buffer_.take();
    respond(stream_, handled(request), kSendWait);
    wipeText(request.body);
  }

private:
  HttpResponse handled(HttpRequest& request) const {
    return gate_.handle ? gate_.handle(request) : answer(500, "geen handler", "text/plain");
  }

  void answerWithoutBody(const HttpResponse& response) {
    const milliseconds left = leftUntil(stream_, deadline_);
    respond(stream_, response, std::clamp(left, milliseconds(1), kHeadWait));
    drain(stream_);
  }

  ByteStream& stream_;
  const RequestGate& gate_;
  ConnectionSeat& seat_;
  HeldBuffer& buffer_;
  const TimePoint deadline_;
};

} // namespace

void serveConnection(ByteStream& stream, const RequestGate& gate, ConnectionSeat& seat) {
  HeldBuffer buffer(stream, seat);
  const TimePoint deadline = stream.now() + kHeadWait;
  const std::optional<std::size_t> length = receiveHead(stream, buffer, deadline);
  if (!length || !buffer.roomFor(*length)) return;
  std::optional<ParsedHead> head = parseHead(std::string_view(buffer.bytes()).substr(0, *length));
  if (!head || !buffer.keepFrom(*length + kHeadEnd.size(), *length)) return;
  Exchange(stream, gate, seat, buffer, deadline).run(std::move(*head));
}

} // namespace vorda
