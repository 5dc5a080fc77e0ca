#include "http/waiting_room.h"
#include "support/fake_stream.h"

#include <doctest/doctest.h>

#include <new>
#include <vector>

using namespace vorda;
using namespace std::chrono_literals;
using Need = Connection::Need;

namespace {

constexpr const char* kHead = "GET / H\r\n\r\n";

class Room {
public:
  explicit Room(const ConnectionBounds& bounds = {}) : connections(bounds) {}

  void enter(FakeClient& client) {
    client.now = now;
    auto connection = std::make_unique<Connection>(std::make_unique<FakeStream>(client), gate,
                                                   connections.enter(kLoopbackAddress), now);
    const Need need = connection->advance(now);
    room.enter(std::move(connection), need);
  }
  // A round in which all that can be ready is, or nobody.
  void goOn(bool threads = true, bool ready = true) {
    for (WaitingRoom::Guest& guest : room.guests())
      guest.ready = ready && guest.need == Need::bytes;
    room.goOn(now, [&](std::unique_ptr<Connection>& connection) {
      ++asked;
      if (threads) served.push_back(std::move(connection));
      return threads;
    });
  }

  ConnectionTable connections;
  RequestGate gate{{}, [](HttpRequest&) { return okAnswer(); }};
  std::vector<std::unique_ptr<Connection>> served;
  WaitingRoom room;
  Connection::TimePoint now{};
  int asked = 0;
};

} // namespace

TEST_CASE("who waits gets a thread when the head is there, as soon as there is one") {
  Room room;
  CHECK_FALSE(room.room.patience(room.now)); // nobody to wake for
  FakeClient silent{.silent = true};
  FakeClient first{.pieces = {kHead}, .perPiece = 1s};
  FakeClient second = first;
  for (FakeClient* client : {&silent, &first, &second}) room.enter(*client);
  room.goOn();
  CHECK(room.room.guests().size() == 3);
  CHECK(room.room.patience(room.now) == kReceiveWait);
  room.now += 1s;
  for (FakeClient* client : {&silent, &first, &second}) client->now = room.now;
  room.goOn(false);
  CHECK(room.asked == 1); // no use in asking for the second
  CHECK(room.room.guests().size() == 3);
  CHECK(*room.room.patience(room.now) < 100ms);
  CHECK(room.room.patience(room.now + kReceiveWait - 1s - 3ms) == 3ms);
  room.goOn();
  CHECK(room.served.size() == 2);
  CHECK(room.room.guests().size() == 1);
  CHECK(room.served[0]->advance(room.now) == Need::thread);
  CHECK_FALSE(first.closed);
}

TEST_CASE("who is late, has to go or fails is seen off, and nobody else") {
  Room room({.notKept = 3, .settling = 0ms});
  FakeClient clients[4];
  for (FakeClient& client : clients) client.silent = true;
  room.enter(clients[0]);
  room.enter(clients[1]);
  room.now += 5s;
  room.enter(clients[2]);
  room.goOn();
  room.enter(clients[3]); // one too many: the first must close
  room.goOn(true, false);
  CHECK(clients[0].closed);
  CHECK(room.room.guests().size() == 3);
  room.now += 11s;
  CHECK(room.room.patience(room.now) == 0ms);
  room.goOn(true, false);
  CHECK(clients[1].closed);
  CHECK(room.room.guests().size() == 2);
  clients[2].pieces = {kHead};
  clients[2].now = room.now;
  for (WaitingRoom::Guest& guest : room.room.guests()) guest.ready = true;
  room.room.goOn(room.now, [](std::unique_ptr<Connection>&) -> bool { throw std::bad_alloc(); });
  CHECK(clients[2].closed);
  CHECK_FALSE(clients[3].closed);
  CHECK(room.room.guests().size() == 1);
}
