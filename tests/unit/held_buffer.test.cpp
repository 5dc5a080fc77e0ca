#include "http/held_buffer.h"
#include "http/message.h"

#include <doctest/doctest.h>

using namespace vorda;
using Room = ConnectionSeat::Room;

namespace {

struct Held {
  explicit Held(std::size_t bound)
      : table({.heldBytes = bound, .alwaysHeld = 0}), seat(table.enter(kLoopbackAddress)),
        buffer(*seat) {}
  Room append(std::size_t count, std::size_t expected = 0) {
    return buffer.append(std::string(count, 'x'), 1'000, expected);
  }
  ConnectionTable table;
  std::unique_ptr<ConnectionSeat> seat;
  HeldBuffer buffer;
};

} // namespace

TEST_CASE("what a request holds is told before it is allocated, to the byte") {
  for (const std::size_t less : {0U, 1U}) {
    const auto fits = less == 0 ? Room::granted : Room::denied;
    Held doubled(300 - less); // a hundred, and beside them their double
    CHECK(doubled.append(100) == Room::granted);
    CHECK(doubled.table.heldBytes() == 100);
    CHECK(doubled.append(1) == fits);
    CHECK(doubled.append(99) == fits); // which fills it
    CHECK(doubled.table.heldBytes() == (less == 0 ? 200 : 100));

    Held announced(250 - less);
    CHECK(announced.append(100, 150) == Room::granted);
    CHECK(announced.append(50, 150) == fits);
    CHECK(announced.table.heldBytes() == (less == 0 ? 150 : 100));
    CHECK(announced.append(1, 150) == Room::denied);

    Held copied(117 - less);
    CHECK(copied.append(100) == Room::granted);
    CHECK(copied.buffer.roomFor(17) == (less == 0));

    Held body(187 - less); // the whole, the head again as its parts, and the body
    CHECK(body.append(100) == Room::granted);
    CHECK(body.buffer.keepFrom(20, 7) == (less == 0));
    if (less != 0) continue;
    CHECK(body.buffer.bytes() == std::string(80, 'x'));
    CHECK(body.table.heldBytes() == 87);
    CHECK(body.append(1) == Room::denied);
    body.buffer.drop();
    CHECK(body.buffer.bytes().empty());
    CHECK(body.append(80) == Room::granted);
    CHECK(body.table.heldBytes() == 80);
  }
}

TEST_CASE("a piece without room is kept aside until there is some") {
  ConnectionTable table({.heldBytes = 300, .alwaysHeld = 0});
  auto other = table.enter(kLoopbackAddress);
  const auto seat = table.enter(kLoopbackAddress);
  REQUIRE(other->hold(250));
  HeldBuffer buffer(*seat);
  CHECK(buffer.append(std::string(100, 'x'), 1'000, 0) == Room::later);
  CHECK(buffer.keepsPiece());
  CHECK(buffer.appendKept(1'000, 0) == Room::later);
  other.reset();
  CHECK(buffer.appendKept(1'000, 0) == Room::granted);
  CHECK_FALSE(buffer.keepsPiece());
  CHECK(buffer.bytes() == std::string(100, 'x'));
}
