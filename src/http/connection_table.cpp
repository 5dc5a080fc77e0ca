#include "http/connection_table.h"

#include "http/message.h"

#include <algorithm>
#include <chrono>

namespace vorda {

namespace {

constexpr std::chrono::seconds kRoomWait{1};

} // namespace

ConnectionSeat::~ConnectionSeat() { table_.leave(*this); }

bool ConnectionSeat::keep() { return table_.keep(*this); }

bool ConnectionSeat::hold(std::size_t bytes) { return table_.hold(*this, bytes); }

// Tells the longest-waiting of the seats that count to close, if there are as many as the bound
// allows. False when all of them are kept.
template <typename Counts> bool ConnectionTable::makeRoom(std::size_t bound, Counts counts) {
  std::size_t count = 0;
  ConnectionSeat* oldest = nullptr;
  for (ConnectionSeat* seat : seats_) {
    if (seat->closing_ || !counts(*seat)) continue;
    ++count;
    if (oldest == nullptr && !seat->kept_) oldest = seat;
  }
  if (count < bound) return true;
  if (oldest == nullptr) return false;
  oldest->closing_ = true;
  return true;
}

std::unique_ptr<ConnectionSeat> ConnectionTable::enter(std::uint32_t address) {
  std::list<ConnectionSeat*> place(
      1); // whatever fails for want of memory fails before it is entered
  std::unique_ptr<ConnectionSeat> seat(new ConnectionSeat(*this, address));
  place.front() = seat.get();
  std::unique_lock lock(mutex_);
  freed_.wait_for(lock, kRoomWait, [this] {
    const auto closing = [](const ConnectionSeat* one) { return one->closing_.load(); };
    return std::count_if(seats_.begin(), seats_.end(), closing) <=
           static_cast<std::ptrdiff_t>(bounds_.closing);
  });
  const auto same = [address](const ConnectionSeat& one) { return one.address_ == address; };
  const auto notKept = [](const ConnectionSeat& one) { return !one.kept_; };
  const auto any = [](const ConnectionSeat&) { return true; };
  const bool room = (isLoopbackAddress(address) || makeRoom(bounds_.perAddress, same)) &&
                    makeRoom(bounds_.notKept, notKept) && makeRoom(bounds_.connections, any);
  seat->place_ = place.begin();
  seats_.splice(seats_.end(), place);
  if (!room) seat->closing_ = true;
  return seat;
}

void ConnectionTable::leave(ConnectionSeat& seat) {
  {
    const std::lock_guard lock(mutex_);
    heldBytes_ -= seat.held_;
    seats_.erase(seat.place_);
  }
  freed_.notify_all();
}

bool ConnectionTable::keep(ConnectionSeat& seat) {
  const std::lock_guard lock(mutex_);
  seat.kept_ = true;
  return !seat.closing_;
}

// Tells the connection that holds most to close, first among those that are not kept. False when
// that is the one that asks, or when nobody holds more than is always allowed.
bool ConnectionTable::closeLargest(ConnectionSeat& asking, std::size_t wanted) {
  const auto bytesOf = [&](const ConnectionSeat& seat) {
    return &seat == &asking ? wanted : seat.held_;
  };
  ConnectionSeat* largest = nullptr;
  for (const bool kept : {false, true}) {
    for (ConnectionSeat* seat : seats_) {
      if (seat->closing_ || seat->kept_ != kept || bytesOf(*seat) <= bounds_.alwaysHeld) continue;
      if (largest == nullptr || bytesOf(*seat) > bytesOf(*largest)) largest = seat;
    }
    if (largest != nullptr) break;
  }
  if (largest == nullptr || largest == &asking) return false;
  largest->closing_ = true;
  return true;
}

bool ConnectionTable::hold(ConnectionSeat& seat, std::size_t bytes) {
  std::unique_lock lock(mutex_);
  if (seat.closing_) return false;
  const auto fits = [&] { return heldBytes_ - seat.held_ + bytes <= bounds_.heldBytes; };
  // What those that are closing hold is as good as free; it only takes them a moment.
  const auto willFit = [&] {
    std::size_t staying = bytes;
    for (const ConnectionSeat* one : seats_) {
      if (one != &seat && !one->closing_) staying += one->held_;
    }
    return staying <= bounds_.heldBytes;
  };
  if (bytes > seat.held_ && !fits()) {
    bool room = true;
    while (room && !willFit()) room = closeLargest(seat, bytes);
    room = room && freed_.wait_for(lock, kRoomWait, fits);
    if ((!room && bytes > bounds_.alwaysHeld) || seat.closing_) return false;
  }
  const bool less = bytes < seat.held_;
  heldBytes_ = heldBytes_ - seat.held_ + bytes;
  seat.held_ = bytes;
  lock.unlock();
  if (less) freed_.notify_all();
  return true;
}

std::size_t ConnectionTable::heldBytes() const {
  const std::lock_guard lock(mutex_);
  return heldBytes_;
}

} // namespace vorda
