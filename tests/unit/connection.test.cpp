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
    while (at_ < pieces.size() && pieces[at_].size() == taken_) {
      ++at_;
      taken_ = 0;
    }
    if (perReceive > wait || at_ == pieces.size()) return 0;
    const std::size_t count = pieces[at_].copy(buffer, size, taken_);
    taken_ += count;
    return count;
  }
  bool send(std::string_view bytes, std::chrono::milliseconds wait) override {
    sent += bytes;
    sendWait = wait;
    return true;
  }
  void endSending() override { ended = true; }
  std::chrono::steady_clock::time_point now() const override { return time_; }

  std::chrono::milliseconds longestWait{0};
  std::chrono::milliseconds sendWait{0};
  bool ended = false;
  std::size_t unread() const {
    std::size_t bytes = 0;
    for (std::size_t i = at_; i < pieces.size(); ++i) bytes += pieces[i].size();
    return bytes - taken_;
  }

private:
  std::size_t at_ = 0;
  std::size_t taken_ = 0; // of that piece
  std::chrono::steady_clock::time_point time_{};
};

HttpResponse echo(HttpRequest& request) {
  return answer(403, "<" + request.method + " " + request.path + " " + request.body + ">");
}

std::string serve(FakeStream& stream, const RequestGate& gate = {{}, echo}) {
  ConnectionTable connections;
  serveConnection(stream, gate, *connections.enter(kLoopbackAddress));
  CHECK(connections.heldBytes() == 0);
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
  serve(stream, {});
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

  CHECK(body.sendWait == kSendWait);
  // All of it has ten minutes; what is there then is passed on.
  FakeStream endless;
  endless.pieces.assign(100, "x");
  endless.pieces[0] = "POST / H\r\nContent-Length: 100\r\n\r\n";
  endless.perReceive = std::chrono::seconds(14);
  CHECK(serve(endless).ends_with("<POST / " + std::string(42, 'x') + ">"));
  // Only received bytes are held, not announced ones.
  FakeStream promise;
  promise.pieces = {"POST / H\r\nContent-Length: 99999999999999\r\n\r\nabc"};
  CHECK(serve(promise).ends_with("<POST / abc>"));
  for (const std::size_t over : {0U, 1U}) {
    FakeStream large;
    large.pieces = {"POST / H\r\nContent-Length: 99999999\r\n\r\n",
                    std::string(kMaxConnectionBytes + over, 'x')};
    CHECK(serve(large).empty() == (over == 1));
  }
}

TEST_CASE("a body is read only for a request that was admitted, and a refusal reaches its client") {
  int handled = 0;
  const auto count = [&handled](HttpRequest& request) {
    ++handled;
    return echo(request);
  };
  const std::string head = "POST /x?token=k H\r\nHost: h\r\nContent-Length: 1000000\r\n\r\n";
  FakeStream refused;
  refused.pieces = {head, std::string(1'000'000, 'x')};
  CHECK(serve(refused, {[](const HttpRequest& request) {
                          CHECK(request.body.empty());
                          CHECK(request.queryValue("token") == "k");
                          return Admission{Trust::none, errorAnswer(401, "no")};
                        },
                        count})
            .ends_with(R"({"error":"no"})"));
  CHECK(handled == 0);
  CHECK(refused.ended);
  CHECK(refused.unread() == 1'000'000 - kDrainedBytes);

  // Served without a key: no body, and what is left of the minute to send the answer.
  FakeStream open;
  open.pieces = {"POST / H\r", "\nContent-Length: 9\r\n\r\n", "123456789"};
  open.perReceive = std::chrono::seconds(10);
  CHECK(serve(open, {[](const HttpRequest&) {
                       return Admission{Trust::none, {}};
                     },
                     count})
            .ends_with("<POST / >"));
  CHECK(handled == 1);
  CHECK(open.sendWait == std::chrono::seconds(40));
}

TEST_CASE("a connection that has to give up its place is closed without an answer") {
  ConnectionBounds bounds;
  bounds.notKept = 1;
  ConnectionTable connections(bounds);
  const auto first = connections.enter(kLoopbackAddress);
  const auto second = connections.enter(kLoopbackAddress);
  FakeStream early;
  early.pieces = {"GET / H\r\n\r\n"};
  serveConnection(early, {{}, echo}, *first);
  CHECK(early.sent.empty());
  FakeStream late;
  late.pieces = {"GET / H\r\n\r\n"};
  serveConnection(late, {{}, echo}, *second);
  CHECK(late.sent.ends_with("<GET / >"));
}
