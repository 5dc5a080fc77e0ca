#include "http/connection.h"

#include "base/secret.h"
#include "http/message_parser.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

namespace vorda {

namespace {

constexpr std::size_t kJoinedPayload = 4'096;
constexpr std::string_view kHeadEnd = "\r\n\r\n";

// The receive buffer of one incomplete request, counted against kMaxHeldBytes. It may hold a
// password, so its memory is wiped.
class HeldBuffer {
public:
  HeldBuffer(ByteStream& stream, std::atomic<std::uint64_t>& heldBytes)
      : stream_(stream), heldBytes_(heldBytes) {}
  HeldBuffer(const HeldBuffer&) = delete;
  HeldBuffer& operator=(const HeldBuffer&) = delete;
  ~HeldBuffer() {
    heldBytes_ -= counted_;
    wipeText(bytes_);
  }

  enum class Outcome { more, end, refused };

  Outcome receive(std::chrono::milliseconds wait) {
    std::array<char, kReceivePiece> piece;
    const std::size_t count = stream_.receive(piece.data(), piece.size(), wait);
    if (count == 0) return Outcome::end;
    counted_ += count;
    if (heldBytes_.fetch_add(count) + count > kMaxHeldBytes) return Outcome::refused;
    appendWiping(bytes_, std::string_view(piece.data(), count));
    wipeUnits(piece.data(), count);
    return Outcome::more;
  }

  const std::string& bytes() const { return bytes_; }
  std::string take() { return std::move(bytes_); }
  void eraseFront(std::size_t count) {
    std::string rest = bytes_.substr(count);
    bytes_.swap(rest);
    wipeText(rest);
  }

private:
  ByteStream& stream_;
  std::atomic<std::uint64_t>& heldBytes_;
  std::uint64_t counted_ = 0;
  std::string bytes_;
};

// Reads to the end of the head and returns its length, or nothing when the connection has
// to be closed.
std::optional<std::size_t> receiveHead(ByteStream& stream, HeldBuffer& buffer) {
  const auto deadline = stream.now() + kHeadWait;
  std::size_t searchedTo = 0;
  while (true) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - stream.now());
    if (left.count() <= 0) return std::nullopt;
    if (buffer.receive(std::min(left, kReceiveWait)) != HeldBuffer::Outcome::more) {
      return std::nullopt;
    }
    if (buffer.bytes().size() > kMaxHeadBuffer) return std::nullopt;
    const std::size_t end = buffer.bytes().find(kHeadEnd, searchedTo);
    if (end != std::string::npos) return end;
    // The terminator may have begun in the last three bytes.
    searchedTo = buffer.bytes().size() - std::min<std::size_t>(buffer.bytes().size(), 3);
  }
}

std::optional<HttpRequest> receiveRequest(ByteStream& stream,
                                          std::atomic<std::uint64_t>& heldBytes) {
  HeldBuffer buffer(stream, heldBytes);
  const std::optional<std::size_t> headLength = receiveHead(stream, buffer);
  if (!headLength) return std::nullopt;
  std::optional<ParsedHead> parsed =
      parseHead(std::string_view(buffer.bytes()).substr(0, *headLength));
  if (!parsed) return std::nullopt;
  buffer.eraseFront(*headLength + kHeadEnd.size());
  while (buffer.bytes().size() < parsed->contentLength) {
    const HeldBuffer::Outcome outcome = buffer.receive(kReceiveWait);
    if (outcome == HeldBuffer::Outcome::refused) return std::nullopt;
    if (outcome == HeldBuffer::Outcome::end) break;
  }
  parsed->request.body = buffer.take();
  return std::move(parsed->request);
}

} // namespace

void serveConnection(ByteStream& stream,
                     const std::function<HttpResponse(const HttpRequest&)>& handler,
                     std::atomic<std::uint64_t>& heldBytes) {
  std::optional<HttpRequest> request = receiveRequest(stream, heldBytes);
  if (!request) return;
  const HttpResponse response =
      handler ? handler(*request) : answer(500, "geen handler", "text/plain");
  wipeText(request->body);
  const std::string_view payload = response.payload();
  std::string head = responseHead(response);
  // A small payload is sent in one piece with the head; a large one is never copied.
  if (payload.size() <= kJoinedPayload) {
    stream.send(head.append(payload));
  } else if (stream.send(head)) {
    stream.send(payload);
  }
}

} // namespace vorda
