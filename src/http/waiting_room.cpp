#include "http/waiting_room.h"

#include <algorithm>
#include <utility>

namespace vorda {

namespace {

using std::chrono::milliseconds;
using Need = Connection::Need;

// How soon to try again for what nothing announces: memory and threads that others give up.
constexpr milliseconds kRetry{10};

} // namespace

void WaitingRoom::enter(std::unique_ptr<Connection> connection, Need need) {
  std::list<Guest> one;
  one.push_back({std::move(connection), need, false});
  const std::lock_guard lock(mutex_);
  entered_.splice(entered_.end(), one);
}

// The last catch: whatever a connection runs into, memory above all, only ends that connection.
bool WaitingRoom::stays(Guest& guest, TimePoint now, const StartThread& startThread) {
  try {
    Connection& connection = *guest.connection;
    const bool retries = guest.need == Need::room || connection.mustClose();
    const bool late = guest.need != Need::thread && now >= connection.deadline();
    if (std::exchange(guest.ready, false) || retries || late) guest.need = connection.advance(now);
    if (guest.need == Need::thread && !threadsShort_) {
      if (startThread(guest.connection)) return false;
      threadsShort_ = true;
    }
    return guest.need != Need::over;
  } catch (...) {
    return false;
  }
}

void WaitingRoom::goOn(TimePoint now, const StartThread& startThread) {
  {
    const std::lock_guard lock(mutex_);
    guests_.splice(guests_.end(), entered_);
  }
  threadsShort_ = false;
  guests_.remove_if([&](Guest& guest) { return !stays(guest, now, startThread); });
}

std::optional<milliseconds> WaitingRoom::patience(TimePoint now) const {
  if (guests_.empty()) return std::nullopt;
  milliseconds least = milliseconds::max();
  for (const Guest& guest : guests_) {
    if (guest.need == Need::room || guest.need == Need::thread) {
      least = std::min(least, kRetry);
    } else {
      // Rounded up, so that the time is over when the wait is.
      least = std::min(least, std::chrono::ceil<milliseconds>(guest.connection->deadline() - now));
    }
  }
  return std::max(least, milliseconds(0));
}

} // namespace vorda
