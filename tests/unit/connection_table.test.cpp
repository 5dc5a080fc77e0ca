#include "http/connection_table.h"
#include "http/message.h"

#include <doctest/doctest.h>

#include <thread>
#include <vector>

using namespace vorda;
using namespace std::chrono_literals;

namespace {

constexpr std::uint32_t kNear = 0x0A000001;
constexpr std::uint32_t kFar = 0x0A000002;
using Room = ConnectionSeat::Room;
using Seats = std::vector<std::unique_ptr<ConnectionSeat>>;

Seats entered(ConnectionTable& table, std::size_t count, std::uint32_t address) {
  Seats seats;
  for (std::size_t i = 0; i < count; ++i) seats.push_back(table.enter(address));
  return seats;
}

// The places of those that must close.
std::string closing(const Seats& seats) {
  std::string places;
  for (std::size_t i = 0; i < seats.size(); ++i) {
    if (seats[i]->mustClose()) places += std::to_string(i);
  }
  return places;
}

} // namespace

TEST_CASE("too many connections: the longest-waiting without a key goes, never a kept one") {
  ConnectionTable table({.perAddress = 3, .notKept = 6, .connections = 9, .settling = 0ms});
  int told = 0;
  table.onClosing([&told] { ++told; });
  Seats near = entered(table, 3, kNear);
  CHECK(near[0]->keep());
  near.push_back(table.enter(kNear));
  CHECK(closing(near) == "1");
  CHECK(told == 1);
  CHECK_FALSE(near[1]->keep());
  near.erase(near.begin() + 1);
  for (const auto& seat : near) CHECK(seat->keep());
  CHECK(table.enter(kNear)->mustClose());

  // Whose answer is only still being sent goes where all others are kept.
  near[1]->finish();
  const auto newer = table.enter(kNear);
  CHECK_FALSE(newer->mustClose());
  CHECK(closing(near) == "1");
  near.erase(near.begin() + 1);
  CHECK(newer->keep());
  CHECK(table.enter(kNear)->mustClose());

  CHECK_FALSE(table.enter(kFar)->mustClose()); // their number says nothing about this one

  // Loopback has no bound of its own; all together have one for those that are not kept.
  Seats local = entered(table, 6, kLoopbackAddress);
  CHECK(closing(local).empty());
  const auto other = table.enter(kFar);
  CHECK_FALSE(other->mustClose());
  CHECK(closing(local) == "0");
  for (std::size_t i = 1; i < local.size(); ++i) CHECK(local[i]->keep());
  CHECK(other->keep());
  CHECK(table.enter(kLoopbackAddress)->mustClose()); // nine are kept
  CHECK(closing(near).empty());
}

TEST_CASE(
    "whose request waits for the program does not have to go for one that waits for its client") {
  ConnectionTable table({.notKept = 3, .settling = 0ms});
  Seats seats = entered(table, 3, kLoopbackAddress);
  CHECK(seats[0]->arrive());
  CHECK(seats[1]->keep());
  CHECK(seats[1]->arrive()); // it stays kept
  seats.push_back(table.enter(kLoopbackAddress));
  seats.push_back(table.enter(kLoopbackAddress));
  CHECK(closing(seats) == "2");
  seats[0]->wait();
  seats.push_back(table.enter(kLoopbackAddress));
  CHECK(seats[0]->mustClose());
  seats.erase(seats.begin());
  for (const auto& seat : seats) seat->arrive();
  seats.push_back(table.enter(kLoopbackAddress));
  CHECK(seats[2]->mustClose());
  CHECK_FALSE(seats[0]->mustClose());
}

TEST_CASE("a newcomer waits a moment before it pushes out those that have only just come") {
  ConnectionTable table({.notKept = 2, .settling = 60'000ms});
  Seats seats = entered(table, 2, kLoopbackAddress);
  std::thread keeper([&seats] { seats[1]->keep(); });
  const auto third = table.enter(kLoopbackAddress); // as soon as one of them is kept
  keeper.join();
  CHECK(closing(seats).empty());
  CHECK_FALSE(third->mustClose());
  ConnectionTable quick({.notKept = 1, .settling = 30ms});
  const auto kept = quick.enter(kLoopbackAddress);
  CHECK(kept->keep()); // however long that one is there
  std::this_thread::sleep_for(30ms);
  auto began = std::chrono::steady_clock::now();
  seats = entered(quick, 2, kLoopbackAddress);
  CHECK(std::chrono::steady_clock::now() - began >= 30ms);
  CHECK(seats[0]->mustClose());
  // And while many that have to go are not gone.
  ConnectionTable going({.notKept = 1, .closing = 1, .settling = 0ms});
  seats = entered(going, 3, kLoopbackAddress);
  began = std::chrono::steady_clock::now();
  const auto fourth = going.enter(kLoopbackAddress); // for a second
  CHECK(std::chrono::steady_clock::now() - began >= 1s);
  seats.clear(); // before their table
}

TEST_CASE("too many bytes: who holds most goes, first among those without a key") {
  ConnectionTable table({.heldBytes = 1'000, .alwaysHeld = 10});
  Seats seats = entered(table, 4, kNear);
  CHECK(seats[0]->keep());
  CHECK(seats[0]->hold(600));
  CHECK(seats[1]->hold(300));
  CHECK(seats[2]->hold(100));
  CHECK_FALSE(seats[1]->hold(301)); // it would itself hold most
  CHECK(closing(seats).empty());
  CHECK(table.heldBytes() == 1'000);

  // The one that must close gives its bytes up a moment later. What a request is worked on with
  // cannot be given up.
  CHECK(seats[0]->work());
  CHECK(seats[2]->tryHold(150) == Room::later);
  CHECK_FALSE(seats[2]->hold(150)); // for a second nobody leaves
  std::thread leaver([&seats] {
    while (!seats[1]->mustClose()) std::this_thread::yield();
    seats[1].reset();
  });
  CHECK(seats[2]->hold(150));
  leaver.join();
  CHECK(table.heldBytes() == 750);
  CHECK_FALSE(seats[0]->mustClose());
}

TEST_CASE("as few as possible have to go, the kept ones last and those that hold little never") {
  ConnectionTable table({.heldBytes = 100, .alwaysHeld = 10});
  Seats seats = entered(table, 6, kNear);
  const std::size_t held[] = {10, 11, 12, 12, 50, 5};
  for (std::size_t i = 0; i < 6; ++i) CHECK(seats[i]->tryHold(held[i]) == Room::granted);
  CHECK(seats[4]->keep());
  CHECK(seats[5]->tryHold(13) == Room::denied); // it would itself hold most
  CHECK(seats[5]->tryHold(11) == Room::later);
  CHECK(closing(seats) == "2");
  CHECK(seats[2]->tryHold(1) == Room::denied);
  CHECK(seats[5]->keep());
  CHECK(seats[5]->tryHold(29) == Room::later);
  CHECK(closing(seats) == "23");
  CHECK(seats[5]->tryHold(45) == Room::later);
  CHECK((!seats[0]->mustClose() && closing(seats).size() == 4));

  // What a request is worked on with may be too much with the little of others.
  ConnectionTable full({.heldBytes = 20, .alwaysHeld = 5});
  Seats two = entered(full, 2, kNear);
  CHECK((two[0]->hold(15) && two[0]->work()));
  CHECK(two[0]->tryHold(20) == Room::granted);
  CHECK(two[1]->hold(5));
  CHECK(two[0]->tryHold(20) == Room::granted);
  CHECK(closing(two).empty());
  two[0]->finish();
  CHECK(full.heldBytes() == 5);
}
