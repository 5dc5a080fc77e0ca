#include "http/connection.h"
#include "http/message_parser.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;

namespace {

// Bytes that arrive in given pieces, then the end of the stream; time passes as told.
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

std::string serve(FakeStream& stream, std::vector<HttpRequest>* seen = nullptr,
                  std::uint64_t alreadyHeld = 0) {
  std::atomic<std::uint64_t> held{alreadyHeld};
  const auto handler = [seen](const HttpRequest& request) {
    if (seen != nullptr) seen->push_back(request);
    return answer(403, "<" + request.method + " " + request.path + " " + request.body + ">");
  };
  serveConnection(stream, handler, held);
  CHECK(held == alreadyHeld);
  return stream.sent;
}

std::string servePieces(std::vector<std::string> pieces, std::vector<HttpRequest>* seen = nullptr) {
  FakeStream stream;
  stream.pieces = std::move(pieces);
  return serve(stream, seen);
}

const std::string kRequest = "POST /a?b=1 HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\n\r\nbody";

} // namespace

TEST_CASE("heads become requests") {
  const auto parse = [](std::string_view head) { return parseHead(head); };
  const auto full = parse("GET /api/x%20y?a=1&a=2&b&c=a+b%2Fc%zz&=e&%41=%4 HTTP/1.1\r\n"
                          "Host:  \t h \t\r\nno colon\r\nX: 1\r\nx: 2\r\n:empty\r\n"
                          "Content-LENGTH:  12abc");
  REQUIRE(full);
  CHECK(full->request.method == "GET");
  CHECK(full->request.path == "/api/x%20y");
  CHECK(full->request.query ==
        TextMap{{"a", "2"}, {"b", ""}, {"c", "a b/c%zz"}, {"", "e"}, {"A", "%4"}});
  CHECK(full->request.headers ==
        TextMap{{"host", "h \t"}, {"x", "2"}, {"", "empty"}, {"content-length", "12abc"}});
  CHECK(full->contentLength == 12);
  CHECK_FALSE(parse(""));
  CHECK_FALSE(parse("GET\r\nHost: a b"));
  CHECK(parse(" /x")->request.method.empty());
  CHECK(parse("GET ")->request.path.empty());
  CHECK(parse("GET /x?\nHost: y")->request.headers.empty()); // a lone line feed ends nothing
  CHECK(parse("GET /\rX")->request.path == "/\rX");
  const std::vector<std::pair<std::string, std::uint64_t>> lengths = {
      {"-1", ~0ULL},
      {"+7", 7},
      {"x", 0},
      {"", 0},
      {"0x10", 0},
      {"18446744073709551615", ~0ULL},
      {"18446744073709551616", ~0ULL}};
  for (const auto& [text, length] : lengths) {
    CHECK(parse("GET / H\r\nContent-Length:" + text)->contentLength == length);
  }
}

TEST_CASE("answers to the letter") {
  const std::vector<std::pair<int, std::string>> reasons = {{200, "OK"},
                                                            {400, "Bad Request"},
                                                            {401, "Unauthorized"},
                                                            {404, "Not Found"},
                                                            {500, "Internal Server Error"},
                                                            {403, "Internal Server Error"},
                                                            {502, "Internal Server Error"}};
  for (const auto& [status, reason] : reasons) {
    CHECK(responseHead(answer(status, "12345", "t/x")) ==
          "HTTP/1.1 " + std::to_string(status) + " " + reason +
              "\r\nContent-Type: t/x\r\nContent-Length: 5\r\nCache-Control: no-store\r\n"
              "Connection: close\r\n\r\n");
  }
  CHECK(errorAnswer(404, "noJob").payload() == R"({"error":"noJob"})");
  CHECK(servePieces({"GET / H\r\n\r\n"}).ends_with("\r\nConnection: close\r\n\r\n<GET / >"));
  FakeStream stream;
  stream.pieces = {kRequest};
  std::atomic<std::uint64_t> held{0};
  serveConnection(stream, {}, held);
  CHECK(stream.sent.starts_with(
      "HTTP/1.1 500 Internal Server Error\r\nContent-Type: text/plain\r\n"));
  CHECK(stream.sent.ends_with("geen handler"));
}

TEST_CASE("a request arrives in any pieces, and may break off anywhere") {
  const std::string whole = servePieces({kRequest});
  CHECK(whole.ends_with("<POST /a body>"));
  const std::size_t headEnd = kRequest.find("\r\n\r\n") + 4;
  for (std::size_t cut = 0; cut <= kRequest.size(); ++cut) {
    CAPTURE(cut);
    CHECK(servePieces({kRequest.substr(0, cut), kRequest.substr(cut)}) == whole);
    const std::string torn = servePieces({kRequest.substr(0, cut)});
    if (cut < headEnd) {
      CHECK(torn.empty());
    } else {
      CHECK(torn.ends_with("<POST /a " + kRequest.substr(headEnd, cut - headEnd) + ">"));
    }
  }
  std::vector<std::string> bytes;
  for (const char c : kRequest) bytes.emplace_back(1, c);
  CHECK(servePieces(bytes) == whole);
  // More than announced, arriving with the head, stays; what comes later is not read.
  CHECK(servePieces({kRequest + "more", "late"}).ends_with("<POST /a bodymore>"));
  CHECK(servePieces({"noblank\r\n\r\n"}).empty());
}

TEST_CASE("limits of size and time") {
  const std::string start = "GET / H\r\nX: ";
  const std::string filled(kMaxHeadBuffer - start.size() - 4, 'x');
  CHECK_FALSE(servePieces({start + filled + "\r\n\r\n"}).empty());
  CHECK(servePieces({start + filled + "x\r\n\r\n"}).empty());
  CHECK(servePieces({start + filled + "xxxxx"}).empty());

  // One byte every 10 s: each comes in time, the head as a whole does not.
  FakeStream trickle;
  for (const char c : std::string("GET / H\r\n\r\n")) trickle.pieces.emplace_back(1, c);
  trickle.perReceive = std::chrono::seconds(10);
  CHECK(serve(trickle).empty());
  CHECK(trickle.longestWait == kReceiveWait);
  FakeStream slow = FakeStream();
  slow.pieces = {"GET / H\r", "\n\r", "\n"};
  slow.perReceive = std::chrono::seconds(14);
  CHECK_FALSE(serve(slow).empty());
  // The body has no such limit, only the wait for each piece.
  FakeStream body;
  body.pieces = {"POST / H\r\nContent-Length: 9\r\n\r\n", "1", "2", "3", "4", "5", "6", "7", "8"};
  body.perReceive = std::chrono::seconds(14);
  CHECK(serve(body).ends_with("<POST / 12345678>"));

  // What all connections hold together is bounded; a promise alone holds nothing.
  FakeStream promise;
  promise.pieces = {"POST / H\r\nContent-Length: 99999999999999\r\n\r\nabc"};
  CHECK(serve(promise).ends_with("<POST / abc>"));
  for (const std::uint64_t room : {49U, 50U}) {
    FakeStream crowded;
    crowded.pieces = {"POST / H\r\nContent-Length: 30\r\n\r\n", "1234567890", "1234567890"};
    CHECK(crowded.pieces[0].size() == 32);
    CHECK(serve(crowded, nullptr, kMaxHeldBytes - room - 2).empty() == (room == 49));
  }
}
