#include "http/connection_table.h"

#include "http/message.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace vorda {

namespace {

constexpr std::chrono::seconds kRoomWait{1};

} // namespace

bool ConnectionTable::notKept(const ConnectionSeat& seat) {
  return seat.stage_ == Stage::waiting || seat.stage_ == Stage::arrived;
}

ConnectionSeat::~ConnectionSeat() { table_.leave(*this); }

bool ConnectionSeat::arrive() { return table_.become(*this, Stage::arrived); }

void ConnectionSeat::wait() { table_.become(*this, Stage::waiting); }

bool ConnectionSeat::keep() { return table_.become(*this, Stage::kept); }

bool ConnectionSeat::work() { return table_.become(*this, Stage::working); }

void ConnectionSeat::finish() {
  tryHold(0);
  table_.become(*this, Stage::finished);
}

ConnectionSeat::Room ConnectionSeat::tryHold(std::size_t bytes) {
  const std::lock_guard lock(table_.mutex_);
  return table_.hold(*this, bytes);
}

bool ConnectionSeat::hold(std::size_t bytes) {
  std::unique_lock lock(table_.mutex_);
  Room room = table_.hold(*this, bytes);
  if (room != Room::later) return room == Room::granted;
  table_.freed_.wait_for(lock, kRoomWait, [&] { return closing_ || table_.fits(*this, bytes); });
  if (closing_ || !table_.fits(*this, bytes)) return false;
  table_.setHeld(*this, bytes);
  return true;
}

void ConnectionTable::close(ConnectionSeat& seat) {
  seat.closing_ = true;
  if (onClosing_) onClosing_();
}

// Where as many seats count as the bound allows, tells the longest there to close that waits for its
// client. Where none does, one that waits for the program, or else one that is only still being sent
// its answer. False when there is none of these either.
template <typename Counts> bool ConnectionTable::makeRoom(std::size_t bound, Counts counts) {
  constexpr std::array kInTurn = {Stage::waiting, Stage::arrived, Stage::finished};
  std::array<ConnectionSeat*, kInTurn.size()> oldest{};
  std::size_t count = 0;
  for (ConnectionSeat* seat : seats_) {
    if (seat->closing_ || !counts(*seat)) continue;
    ++count;
    for (std::size_t i = 0; i < kInTurn.size(); ++i) {
      if (oldest[i] == nullptr && seat->stage_ == kInTurn[i]) oldest[i] = seat;
    }
  }
  if (count < bound) return true;
  for (ConnectionSeat* seat : oldest) {
    if (seat == nullptr) continue;
    close(*seat);
    return true;
  }
  return false;
}

// Whether as many as may wait without being kept are there, and none of them for long.
bool ConnectionTable::isSettling() const {
  const auto isNotKept = [](const ConnectionSeat* one) { return !one->closing_ && notKept(*one); };
  const auto oldest = std::find_if(seats_.begin(), seats_.end(), isNotKept);
  if (oldest == seats_.end()) return false;
  const auto age = std::chrono::steady_clock::now() - (*oldest)->entered_;
  if (age >= bounds_.settling) return false;
  return std::count_if(oldest, seats_.end(), isNotKept) >=
         static_cast<std::ptrdiff_t>(bounds_.notKept);
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
  freed_.wait_for(lock, bounds_.settling, [this] { return !isSettling(); });
  const auto same = [address](const ConnectionSeat& one) { return one.address_ == address; };
  const auto any = [](const ConnectionSeat&) { return true; };
  const bool room = (isLoopbackAddress(address) || makeRoom(bounds_.perAddress, same)) &&
                    makeRoom(bounds_.notKept, notKept) && makeRoom(bounds_.connections, any);
  seat->place_ = place.begin();
  seat->entered_ = std::chrono::steady_clock::now();
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

bool ConnectionTable::become(ConnectionSeat& seat, Stage stage) {
  const std::lock_guard lock(mutex_);
  const bool less = stage == Stage::arrived && seat.stage_ != Stage::waiting; // it is kept already
  if (!less) seat.stage_ = stage;
  if (!notKept(seat)) freed_.notify_all();
  return !seat.closing_;
}

// Tells the connection that holds most to close, first among those that are not kept. False when
// that is the one that asks, or when nobody holds more than is always allowed.
bool ConnectionTable::closeLargest(ConnectionSeat& asking, std::size_t wanted) {
  const auto bytesOf = [&](const ConnectionSeat& seat) {
    return &seat == &asking ? wanted : seat.held_;
  };
  ConnectionSeat* largest = nullptr;
  for (const Stage stage : {Stage::waiting, Stage::arrived, Stage::kept}) {
    for (ConnectionSeat* seat : seats_) {
      if (seat->closing_ || seat->stage_ != stage || bytesOf(*seat) <= bounds_.alwaysHeld) continue;
      if (largest == nullptr || bytesOf(*seat) > bytesOf(*largest)) largest = seat;
    }
    if (largest != nullptr) break;
  }
  if (largest == nullptr || largest == &asking) return false;
  close(*largest);
  return true;
}

bool ConnectionTable::fits(const ConnectionSeat& seat, std::size_t bytes) const {
  return heldBytes_ - seat.held_ + bytes <= bounds_.heldBytes;
}

// What those that are closing hold is as good as free; it only takes them a moment.
bool ConnectionTable::willFit(const ConnectionSeat& seat, std::size_t bytes) const {
  std::size_t staying = bytes;
  for (const ConnectionSeat* one : seats_) {
    if (one != &seat && !one->closing_) staying += one->held_;
  }
  return staying <= bounds_.heldBytes;
}

void ConnectionTable::setHeld(ConnectionSeat& seat, std::size_t bytes) {
  const bool less = bytes < seat.held_;
  heldBytes_ = heldBytes_ - seat.held_ + bytes;
  seat.held_ = bytes;
  if (less) freed_.notify_all();
}

ConnectionTable::Room ConnectionTable::hold(ConnectionSeat& seat, std::size_t bytes) {
  if (seat.closing_) return Room::denied;
  if (bytes > seat.held_ && !fits(seat, bytes)) {
    bool room = true;
    while (room && !willFit(seat, bytes)) room = closeLargest(seat, bytes);
    if (bytes > bounds_.alwaysHeld) return room ? Room::later : Room::denied;
  }
  setHeld(seat, bytes);
  return Room::granted;
}

std::size_t ConnectionTable::heldBytes() const {
  const std::lock_guard lock(mutex_);
  return heldBytes_;
}

} // namespace vorda
