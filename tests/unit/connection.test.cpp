#include "http/connection.h"
#include "http/message_parser.h"
#include "support/fake_stream.h"

#include <doctest/doctest.h>

#include <vector>

using namespace vorda;
using namespace std::chrono_literals;

namespace {

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
  FakeClient client;
  client.pieces = std::move(pieces);
  return serve(client);
}

const auto kNoKey = [](const HttpRequest&) { return Admission{Trust::none, {}}; };
const auto kKey = [](const HttpRequest&) { return Admission{Trust::key, {}}; };

const std::string kRequest = "POST /a?b=1 HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\n\r\nbody";

} // namespace

TEST_CASE("responses, with and without a handler") {
  CHECK(servePieces({"GET / H\r\n\r\n"}).ends_with("\r\nConnection: close\r\n\r\n<GET / >"));
  FakeClient stream;
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
  // A blank line within the body ends nothing, and nobody waits for more than was announced.
  FakeClient whole;
  whole.pieces = {"POST / H\r\nContent-Length: 8\r\n\r\n", "ab\r\n", "\r\ncd"};
  whole.silent = true;
  CHECK(serve(whole).ends_with("<POST / ab\r\n\r\ncd>"));
  CHECK(whole.now.time_since_epoch() == 0ms);
  CHECK(servePieces({"GET / H\r\n\r"}).empty());
  CHECK(servePieces({"nospace\r\n\r\n"}).empty());
}

TEST_CASE("limits on time and on buffered bytes") {
  // One byte every 10 s: each is in time, the head as a whole is not.
  FakeClient trickle;
  for (const char c : std::string("GET / H\r\n\r\n")) trickle.pieces.emplace_back(1, c);
  trickle.perPiece = 10s;
  CHECK(serve(trickle).empty());
  CHECK(trickle.now.time_since_epoch() == kHeadWait);
  FakeClient slow;
  slow.pieces = {"GET / H\r", "\n\r", "\n"};
  slow.perPiece = 14s;
  CHECK_FALSE(serve(slow).empty());
  FakeClient silent;
  silent.silent = true;
  CHECK(serve(silent).empty());
  CHECK(silent.now.time_since_epoch() == kReceiveWait);

  // What has come of a body is passed on when no more comes, or when ten minutes are over.
  FakeClient body;
  body.pieces = {"POST / H\r\nContent-Length: 9\r\n\r\n", "1", "2", "3", "4", "5", "6", "7", "8"};
  body.perPiece = 14s;
  CHECK(serve(body).ends_with("<POST / 12345678>"));
  FakeClient held;
  held.pieces = {"POST / H\r\nContent-Length: 9\r\n\r\n", "1"};
  held.silent = true;
  CHECK(serve(held).ends_with("<POST / 1>"));
  CHECK(held.now.time_since_epoch() == kReceiveWait);
  FakeClient endless;
  endless.pieces.assign(100, "x");
  endless.pieces[0] = "POST / H\r\nContent-Length: 100\r\n\r\n";
  endless.perPiece = 14s;
  CHECK(serve(endless).ends_with("<POST / " + std::string(42, 'x') + ">"));

  // Only received bytes are held, not announced ones.
  FakeClient promise;
  promise.pieces = {"POST / H\r\nContent-Length: 99999999999999\r\n\r\nabc"};
  CHECK(serve(promise).ends_with("<POST / abc>"));
  for (const std::size_t over : {0U, 1U}) {
    FakeClient large;
    large.pieces = {"POST / H\r\nContent-Length: 99999999\r\n\r\n",
                    std::string(kMaxConnectionBytes + over, 'x')};
    CHECK(serve(large).empty() == (over == 1));
    FakeClient head;
    head.pieces = {"GET / H\r\n" + std::string(kMaxHeadBuffer - 13 + over, 'x') + "\r\n\r\n"};
    CHECK(serve(head).empty() == (over == 1));
  }
}

TEST_CASE(
    "the wait for a byte ends with the head's time, and a flood of them leaves others a turn") {
  FakeClient late;
  late.pieces.assign(5, "G");
  late.perPiece = 11s;
  late.silent = true;
  CHECK(serve(late).empty());
  CHECK(late.now.time_since_epoch() == kHeadWait); // and not 15 s after the last of them

  ConnectionTable connections;
  const RequestGate gate{kKey, echo};
  FakeClient flood;
  flood.pieces = {"POST / H\r\nContent-Length: 1000000\r\n\r\n", std::string(1'000'000, 'x')};
  Connection connection(std::make_unique<FakeStream>(flood), gate,
                        connections.enter(kLoopbackAddress), flood.now);
  REQUIRE(connection.advance(flood.now) == Connection::Need::thread);
  CHECK_FALSE(connection.isComplete());
  flood.now += 2s;
  connection.compute(flood.now);
  CHECK_FALSE(connection.isComplete());
  CHECK(connection.advance(flood.now) == Connection::Need::bytes);
  CHECK(flood.unread() == 1'000'000 - 16 * kReceivePiece);
  CHECK(connection.deadline() == flood.now + kReceiveWait);
  for (int turn = 1; turn < 4; ++turn) connection.advance(flood.now);
  CHECK(connection.isComplete());
  CHECK(connections.heldBytes() < 1'000'100); // no more than was announced
}

TEST_CASE("an answer is sent as fast as it is read, if that is not too slow") {
  const std::string large(3 * 1'048'576, 'v');
  const auto answers = [&large](HttpRequest&) { return answer(200, large); };
  FakeClient steady;
  steady.pieces = {"GET / H\r\n\r\n"};
  steady.reads = 100'000;
  steady.perRead = 10s; // eleven in the time for a MiB
  CHECK(serve(steady, {{}, answers}).ends_with("\r\n\r\n" + large));
  CHECK_FALSE(steady.ended); // a complete request leaves nothing to drain
  FakeClient slow;
  slow.pieces = steady.pieces;
  slow.reads = 100'000;
  slow.perRead = 13s;
  CHECK(serve(slow, {{}, answers}).size() < 1'048'576);
  CHECK(slow.now.time_since_epoch() == kSendWait);
  // Without the key all of it has what is left of the minute.
  FakeClient stranger;
  stranger.pieces = {"GET / H\r", "\n\r\n"};
  stranger.perPiece = 10s;
  stranger.reads = 100'000;
  stranger.perRead = 10s;
  serve(stranger, {kNoKey, answers});
  CHECK(stranger.now.time_since_epoch() == kHeadWait);
  CHECK(stranger.sent.size() < 500'000);
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
  FakeClient refused;
  refused.pieces = {head, std::string(1'000'000, 'x')};
  CHECK(serve(refused, {refuse, count}).ends_with(R"({"error":"no"})"));
  CHECK(handled == 0);
  CHECK(refused.ended);
  CHECK(refused.unread() == 1'000'000 - kDrainedBytes);
  // One that neither sends nor closes has a second.
  FakeClient waiting;
  waiting.pieces = {head};
  waiting.silent = true;
  serve(waiting, {refuse, count});
  CHECK(waiting.now.time_since_epoch() == kDrainWait);

  FakeClient open;
  open.pieces = {"POST / H\r", "\nContent-Length: 9\r\n\r\n", "123456789"};
  CHECK(serve(open, {kNoKey, count}).ends_with("<POST / >"));
  CHECK(handled == 1);
}

TEST_CASE("a connection that has to give up its place is closed without an answer") {
  ConnectionTable connections({.notKept = 1, .settling = 0ms});
  auto first = connections.enter(kLoopbackAddress);
  auto second = connections.enter(kLoopbackAddress);
  FakeClient early;
  early.pieces = {"GET / H\r\n\r\n"};
  CHECK(serve(early, {{}, echo}, std::move(first)).empty());
  FakeClient late;
  late.pieces = {"GET / H\r\n\r\n"};
  CHECK(serve(late, {{}, echo}, std::move(second)).ends_with("<GET / >"));
}

TEST_CASE("a body waits for memory that another gives up, at most for a second") {
  ConnectionTable connections({.heldBytes = 300'000, .alwaysHeld = 10'000});
  const RequestGate gate{kKey, echo};
  const std::string head = "POST / H\r\nContent-Length: 100000\r\n\r\n";
  for (const bool gives : {true, false}) {
    auto large = connections.enter(kLoopbackAddress);
    CHECK(large->hold(290'000));
    FakeClient client;
    client.pieces = {head, std::string(100'000, 'x')};
    Connection connection(std::make_unique<FakeStream>(client), gate,
                          connections.enter(kLoopbackAddress), client.now);
    REQUIRE(connection.advance(client.now) == Connection::Need::thread);
    connection.compute(client.now);
    REQUIRE(connection.advance(client.now) == Connection::Need::room);
    CHECK(large->mustClose());
    CHECK(connection.advance(client.now + kRoomWait - 1ms) == Connection::Need::room);
    if (gives) large.reset();
    const auto need = connection.advance(client.now + kRoomWait);
    CHECK(need == (gives ? Connection::Need::thread : Connection::Need::over));
    if (!gives) continue;
    connection.compute(client.now);
    CHECK(connections.heldBytes() == 0); // an answered request holds nothing
    CHECK(connection.advance(client.now) == Connection::Need::over);
    CHECK(client.sent.ends_with("<POST / " + std::string(100'000, 'x') + ">"));
  }
}
