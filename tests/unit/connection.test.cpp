#include "http/connection.h"
#include "http/message_parser.h"
#include "support/fake_stream.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;
using namespace std::chrono_literals;

namespace {

using Need = Connection::Need;

HttpResponse echo(HttpRequest& request) {
  return answer(403, "<" + request.method + " " + request.path + " " + request.body + ">");
}

std::string serve(FakeClient& client, const RequestGate& gate = {{}, echo}) {
  ConnectionTable connections;
  serve(client, gate, connections.enter(kLoopbackAddress));
  CHECK(connections.heldBytes() == 0);
  CHECK(client.closed);
  return client.sent;
}

std::string servePieces(std::vector<std::string> pieces) {
  FakeClient client{.pieces = std::move(pieces)};
  return serve(client);
}

const auto kNoKey = [](const HttpRequest&) { return Admission{Trust::none, {}}; };
const auto kKey = [](const HttpRequest&) { return Admission{Trust::key, {}}; };

constexpr std::uint32_t kFar = 0x0A000001;

struct Stepped {
  FakeClient client;
  Connection connection;
  Stepped(ConnectionTable& table, const RequestGate& gate, std::vector<std::string> pieces)
      : connection(std::make_unique<FakeStream>(client), gate, table.enter(kFar), {}) {
    client.pieces = std::move(pieces);
  }
  Need advance() { return connection.advance(client.now); }
  void compute() { connection.compute(client.now); }
};

const std::string kRequest = "POST /a?b=1 HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\n\r\nbody";

} // namespace

TEST_CASE("responses, with and without a handler") {
  CHECK(servePieces({"GET / H\r\n\r\n"}).ends_with("\r\nConnection: close\r\n\r\n<GET / >"));
  FakeClient stream{.pieces = {kRequest}, .reads = 7};
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
  // A blank line within the body ends nothing, and nobody waits for more than was announced.
  FakeClient whole{
      .pieces = {"POST / H\r\nContent-Length: 27\r\n\r\nContent-Length:99\r\n", "ab\r\n", "\r\ncd"},
      .silent = true};
  CHECK(serve(whole).ends_with("<POST / Content-Length:99\r\nab\r\n\r\ncd>"));
  CHECK(whole.now.time_since_epoch() == 0ms);
  CHECK(servePieces({"GET / H\r\n\r"}).empty());
  CHECK(servePieces({"nospace\r\n\r\n"}).empty());
}

TEST_CASE("limits on time and on buffered bytes") {
  // Something every 10 s: each is in time, the head as a whole is not.
  FakeClient trickle{.pieces = {"GET", " ", "/ H\r", "\n", "\r", "\n"}, .perPiece = 10s};
  CHECK(serve(trickle).empty());
  CHECK(trickle.now.time_since_epoch() == kHeadWait);
  FakeClient slow{.pieces = {"GET / H\r", "\n\r", "\n"}, .perPiece = 14s};
  CHECK_FALSE(serve(slow).empty());
  FakeClient silent{.silent = true};
  CHECK(serve(silent).empty());
  CHECK(silent.now.time_since_epoch() == kReceiveWait);

  // What has come of a body is passed on when no more comes, or when ten minutes are over.
  FakeClient body{
      .pieces = {"POST / H\r\nContent-Length: 9\r\n\r\n", "1", "2", "3", "4", "5", "6", "7", "8"},
      .perPiece = 14s};
  CHECK(serve(body).ends_with("<POST / 12345678>"));
  FakeClient held{.pieces = {"POST / H\r\nContent-Length: 9\r\n\r\n", "1"}, .silent = true};
  CHECK(serve(held).ends_with("<POST / 1>"));
  CHECK(held.now.time_since_epoch() == kReceiveWait);
  FakeClient endless{.pieces = std::vector<std::string>(100, "x"), .perPiece = 14s};
  endless.pieces[0] = "POST / H\r\nContent-Length: 100\r\n\r\n";
  CHECK(serve(endless).ends_with("<POST / " + std::string(42, 'x') + ">"));

  FakeClient promise{.pieces = {"POST / H\r\nContent-Length: 99999999999999\r\n\r\nabc"}};
  CHECK(serve(promise).ends_with("<POST / abc>"));
  for (const std::size_t over : {0U, 1U}) {
    FakeClient large{.pieces = {"POST / H\r\nContent-Length: 99999999\r\n\r\n",
                                std::string(kMaxConnectionBytes + over, 'x')}};
    CHECK(serve(large).empty() == (over == 1));
    FakeClient head{
        .pieces = {"GET / H\r\n" + std::string(kMaxHeadBuffer - 13 + over, 'x') + "\r\n\r\n"}};
    CHECK(serve(head).empty() == (over == 1));
  }
}

TEST_CASE(
    "the wait for a byte ends with the head's time, and a flood of them leaves others a turn") {
  FakeClient late{.pieces = std::vector<std::string>(5, "G"), .silent = true, .perPiece = 11s};
  CHECK(serve(late).empty());
  CHECK(late.now.time_since_epoch() == kHeadWait); // and not 15 s after the last of them

  ConnectionTable connections;
  const RequestGate gate{kKey, echo};
  const std::string head = "POST / H\r\nContent-Length: 1000000";
  Stepped flood(connections, gate, {head + "\r\n\r\n", std::string(1'000'000, 'x')});
  REQUIRE(flood.advance() == Need::thread);
  CHECK_FALSE(flood.connection.isComplete());
  flood.client.perPiece = 3s;
  flood.client.now += 2s;
  flood.compute();
  CHECK_FALSE(flood.connection.isComplete());
  for (const auto pause : {0ms, 1'000ms, kBodyWait - 2'000ms}) {
    flood.client.now += pause;
    CHECK(flood.advance() == Need::bytes);
    CHECK(flood.connection.deadline() ==
          std::min(flood.client.now + kReceiveWait, Connection::TimePoint(kBodyWait + 2s)));
  }
  CHECK(flood.client.unread() == 1'000'000 - 32 * kReceivePiece);
  for (int turn = 2; turn < 4; ++turn) flood.advance();
  CHECK(flood.connection.isComplete());
  CHECK(connections.heldBytes() == 1'000'000 + head.size()); // no more than was announced
}

TEST_CASE("an answer is sent as fast as it is read, if that is not too slow") {
  const std::string large(3 * 1'048'576, 'v');
  const auto answers = [&large](HttpRequest&) { return answer(200, large); };
  // Eleven of them take the time for a MiB.
  FakeClient steady{.pieces = {"GET / H\r\n\r\n"}, .reads = 100'000, .perRead = 10s};
  CHECK(serve(steady, {{}, answers}).ends_with("\r\n\r\n" + large));
  CHECK_FALSE(steady.ended); // a complete request leaves nothing to drain
  FakeClient slow{.pieces = steady.pieces, .reads = 100'000, .perRead = 13s};
  CHECK(serve(slow, {{}, answers}).size() < 1'048'576);
  CHECK(slow.now.time_since_epoch() == kSendWait);
  // Without the key all of it has what is left of the minute.
  FakeClient stranger{
      .pieces = {"GET / H\r", "\n\r\n"}, .perPiece = 10s, .reads = 100'000, .perRead = 10s};
  serve(stranger, {kNoKey, answers});
  CHECK(stranger.now.time_since_epoch() == kHeadWait);
  CHECK(stranger.sent.size() < 500'000);
  // One that reads all at once leaves others a turn, and each MiB has its time.
  for (const Trust trust : {Trust::none, Trust::key}) {
    ConnectionTable connections;
    const RequestGate gate{[trust](const HttpRequest&) { return Admission{trust, {}}; }, answers};
    Stepped fast(connections, gate, {"GET / H\r\n\r\n"});
    while (fast.advance() == Need::thread) fast.compute();
    CHECK(fast.client.sent.size() == fast.client.sent.find("\r\n\r\n") + 4 + 15 * 131'072);
    fast.client.perRead = 40s;
    for (const auto at : {0s, 40s, trust == Trust::key ? 80s : 59s}) {
      CHECK(fast.connection.deadline() ==
            Connection::TimePoint(trust == Trust::key ? kSendWait : kHeadWait));
      fast.client.now = Connection::TimePoint(at);
      CHECK(fast.advance() == Need::space);
    }
    fast.client.reads = 0; // it is gone
    fast.client.readAt = fast.client.now;
    CHECK(fast.advance() == Need::over);
  }
}

TEST_CASE("a body is read only for a request that was admitted, and a refusal reaches its client") {
  int handled = 0;
  const auto count = [&handled](HttpRequest& request) {
    ++handled;
    return echo(request);
  };
  const std::string head = "POST /x?token=k H\r\nHost: h\r\nContent-Length: 1000000\r\n\r\n";
  const auto refuse = [](const HttpRequest& request) {
    CHECK(request.body.empty());
    CHECK(request.queryValue("token") == "k");
    return Admission{Trust::none, errorAnswer(401, "no")};
  };
  FakeClient refused{.pieces = {head, std::string(1'000'000, 'x')}};
  CHECK(serve(refused, {refuse, count}).ends_with(R"({"error":"no"})"));
  CHECK(handled == 0);
  CHECK(refused.ended);
  CHECK(refused.unread() == 1'000'000 - kDrainedBytes);
  FakeClient waiting{.pieces = {head}, .silent = true};
  serve(waiting, {refuse, count});
  CHECK(waiting.now.time_since_epoch() == kDrainWait);

  FakeClient open{.pieces = {"POST / H\r", "\nContent-Length: 9\r\n\r\n", "123456789"}};
  CHECK(serve(open, {kNoKey, count}).ends_with("<POST / >"));
  CHECK(handled == 1);
}

TEST_CASE(
    "who has shown a key stays until it is answered; whose connection has to go is not handled") {
  const std::pair<Admission, int> rows[] = {{{Trust::none, {}}, 1},
                                            {{Trust::key, errorAnswer(404, "no")}, 0},
                                            {{Trust::open, {}}, 0},
                                            {{Trust::key, {}}, 1}};
  for (const auto& [admission, handles] : rows) {
    ConnectionTable connections({.notKept = 2, .connections = 3, .settling = 0ms});
    int handled = 0;
    const auto admit = [&admits = admission](const HttpRequest& request) {
      CHECK(request.address == kFar);
      return admits;
    };
    const RequestGate gate{admit, [&handled](HttpRequest&) { return answer(++handled, ""); }};
    Stepped asked(connections, gate, {"GET / H\r\n\r\nmore"});
    Stepped silent(connections, gate, {});
    REQUIRE(asked.advance() == Need::thread);
    const auto third = connections.enter(kFar);
    CHECK((silent.connection.mustClose() && !asked.connection.mustClose()));
    asked.compute();
    const bool reads = admission.trust != Trust::none && !admission.refusal;
    CHECK((connections.heldBytes() > 0) == reads); // an answered request holds nothing
    if (reads) REQUIRE((asked.advance() == Need::thread && third->arrive()));
    const auto fourth = connections.enter(kFar);
    const bool kept = reads && admission.trust == Trust::key;
    CHECK(asked.connection.mustClose() == !kept);
    asked.compute();
    CHECK(handled == handles);
    if (!kept) continue;
    CHECK((third->keep() && fourth->keep()));
    CHECK_FALSE(connections.enter(kFar)->mustClose()); // an answered one goes instead
  }
}

TEST_CASE("a body waits for memory that another gives up, at most for a second") {
  ConnectionTable connections({.heldBytes = 300'000, .alwaysHeld = 10'000});
  const RequestGate gate{kKey, echo};
  const std::string head = "POST / H\r\nContent-Length: 100000\r\n\r\n";
  for (const bool gives : {true, false}) {
    auto large = connections.enter(kLoopbackAddress);
    CHECK(large->hold(290'000));
    Stepped one(connections, gate, {head, std::string(100'000, 'x')});
    REQUIRE(one.advance() == Need::thread);
    one.compute();
    REQUIRE(one.advance() == Need::room);
    CHECK(large->mustClose());
    one.client.now += kRoomWait - 1ms;
    CHECK(one.advance() == Need::room);
    if (gives) large.reset();
    one.client.now += 1ms;
    CHECK(one.advance() == (gives ? Need::thread : Need::over));
    large.reset();
    one.compute();
    CHECK((connections.heldBytes() == 0) == gives); // an answered request holds nothing
    CHECK(one.advance() == Need::over);
    CHECK(one.client.sent.ends_with("<POST / " + std::string(100'000, 'x') + ">") == gives);
  }
}
