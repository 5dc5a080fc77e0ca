#include "http/connection.h"
#include "http/message_parser.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;

namespace {

// Delivers the given pieces, then end of stream. Each receive takes perReceive of fake time.
class FakeStream final : public ByteStream {
public:
  std::vector<std::string> pieces;
  std::chrono::milliseconds perReceive{0};
  std::string sent;

  std::size_t receive(char* buffer, std::size_t size, std::chrono::milliseconds wait) override {
    longestWait = std::max(longestWait, wait);
    time_ += std::min(perReceive, wait);
    while (at_ < pieces.size() && pieces[at_].empty()) ++at_;
    if (perReceive > wait || at_ == pieces.size()) return 0;
    std::string& piece = pieces[at_];
    const std::size_t count = std::min(size, piece.size());
    piece.copy(buffer, count);
    piece.erase(0, count);
    return count;
  }
  bool send(std::string_view bytes) override {
    sent += bytes;
    return true;
  }
  std::chrono::steady_clock::time_point now() const override { return time_; }

  std::chrono::milliseconds longestWait{0};

private:
  std::size_t at_ = 0;
  std::chrono::steady_clock::time_point time_{};
};

std::string serve(FakeStream& stream, std::uint64_t alreadyHeld = 0) {
  std::atomic<std::uint64_t> held{alreadyHeld};
  const auto handler = [](const HttpRequest& request) {
    return answer(403, "<" + request.method + " " + request.path + " " + request.body + ">");
  };
  serveConnection(stream, handler, held);
  CHECK(held == alreadyHeld);
  return stream.sent;
}

std::string servePieces(std::vector<std::string> pieces) {
  FakeStream stream;
  stream.pieces = std::move(pieces);
  return serve(stream);
}

const std::string kRequest = "POST /a?b=1 HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\n\r\nbody";

} // namespace

TEST_CASE("responses, with and without a handler") {
  CHECK(servePieces({"GET / H\r\n\r\n"}).ends_with("\r\nConnection: close\r\n\r\n<GET / >"));
  FakeStream stream;
  stream.pieces = {kRequest};
  std::atomic<std::uint64_t> held{0};
  serveConnection(stream, {}, held);
  CHECK(stream.sent.starts_with(
      "HTTP/1.1 500 Internal Server Error\r\nContent-Type: text/plain\r\n"));
  CHECK(stream.sent.ends_with("geen handler"));
}

TEST_CASE("where a request ends, however it arrives") {
  std::vector<std::string> bytes;
  for (const char c : kRequest) bytes.emplace_back(1, c);
  CHECK(servePieces(bytes).ends_with("<POST /a body>"));
  // Surplus bytes that arrive with the head are kept; later ones are not read.
  CHECK(servePieces({kRequest + "more", "late"}).ends_with("<POST /a bodymore>"));
  CHECK(servePieces({kRequest.substr(0, kRequest.size() - 1)}).ends_with("<POST /a bod>"));
  CHECK(servePieces({"GET / H\r\n\r"}).empty());
  CHECK(servePieces({"nospace\r\n\r\n"}).empty());
}

TEST_CASE("limits on time and on buffered bytes") {
  // One byte every 10 s: each receive is in time, the head as a whole is not.
  FakeStream trickle;
  for (const char c : std::string("GET / H\r\n\r\n")) trickle.pieces.emplace_back(1, c);
  trickle.perReceive = std::chrono::seconds(10);
  CHECK(serve(trickle).empty());
  CHECK(trickle.longestWait == kReceiveWait);
  FakeStream slow = FakeStream();
  slow.pieces = {"GET / H\r", "\n\r", "\n"};
  slow.perReceive = std::chrono::seconds(14);
  CHECK_FALSE(serve(slow).empty());
  // The body has no total limit, only one for each receive.
  FakeStream body;
  body.pieces = {"POST / H\r\nContent-Length: 9\r\n\r\n", "1", "2", "3", "4", "5", "6", "7", "8"};
  body.perReceive = std::chrono::seconds(14);
  CHECK(serve(body).ends_with("<POST / 12345678>"));

  // Only received bytes count against the limit of the process, not announced ones.
  FakeStream promise;
  promise.pieces = {"POST / H\r\nContent-Length: 99999999999999\r\n\r\nabc"};
  CHECK(serve(promise).ends_with("<POST / abc>"));
  for (const std::uint64_t room : {49U, 50U}) {
    FakeStream crowded;
    crowded.pieces = {"POST / H\r\nContent-Length: 30\r\n\r\n", "1234567890", "1234567890"};
    CHECK(crowded.pieces[0].size() == 32);
    CHECK(serve(crowded, kMaxHeldBytes - room - 2).empty() == (room == 49));
  }
}
