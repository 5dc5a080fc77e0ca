// Who is connected, and what every connection holds. Where a bound is reached, this decides which
// connection has to go, so that one client cannot take what the others need.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>

namespace vorda {

class ConnectionTable;

// The place of one connection, given up on destruction. Only the connection's own thread uses it.
class ConnectionSeat {
public:
  ConnectionSeat(const ConnectionSeat&) = delete;
  ConnectionSeat& operator=(const ConnectionSeat&) = delete;
  ~ConnectionSeat();

  // IPv4, the first byte in the highest bits.
  std::uint32_t address() const { return address_; }

  // Whether this connection has to be closed, because others need its place or its memory.
  bool mustClose() const { return closing_; }

  // From now on the connection is not closed for others: it has shown a key, or its request is
  // complete. False when it already must close.
  bool keep();

  // Says how many bytes the connection will hold from now on. May wait up to a second for those
  // that others give up. False when there is no room: this connection is the one to be closed.
  bool hold(std::size_t bytes);

private:
  friend class ConnectionTable;
  ConnectionSeat(ConnectionTable& table, std::uint32_t address)
      : table_(table), address_(address) {}

  ConnectionTable& table_;
  const std::uint32_t address_;
  std::atomic<bool> closing_{false};
  bool kept_ = false; // this and the next: guarded by the table
  std::size_t held_ = 0;
  std::list<ConnectionSeat*>::iterator place_;
};

struct ConnectionBounds {
  std::size_t perAddress = 64; // other than loopback
  std::size_t notKept = 128;   // each costs a thread
  std::size_t closing = 24;    // and not gone yet: more have to wait for these
  std::size_t connections = 2'000;
  std::size_t heldBytes = 268'435'456; // by all together
  std::size_t alwaysHeld = 65'536;     // what each may hold even where there is no room
};

// Safe to use from any thread. It must outlive its seats.
class ConnectionTable {
public:
  explicit ConnectionTable(const ConnectionBounds& bounds = {}) : bounds_(bounds) {}
  ConnectionTable(const ConnectionTable&) = delete;
  ConnectionTable& operator=(const ConnectionTable&) = delete;

  // A seat for a new connection. Where a bound is reached, the one that has been there longest
  // without being kept must close; when all are kept, the new one. Waits up to a second where
  // many are still closing.
  std::unique_ptr<ConnectionSeat> enter(std::uint32_t address);

  // The sum over all connections.
  std::size_t heldBytes() const;

private:
  friend class ConnectionSeat;
  void leave(ConnectionSeat& seat);
  bool keep(ConnectionSeat& seat);
  bool hold(ConnectionSeat& seat, std::size_t bytes);
  bool closeLargest(ConnectionSeat& asking, std::size_t wanted);
  template <typename Counts> bool makeRoom(std::size_t bound, Counts counts);

  const ConnectionBounds bounds_;
  mutable std::mutex mutex_;
  std::condition_variable freed_;
  std::list<ConnectionSeat*> seats_; // the longest there first
  std::size_t heldBytes_ = 0;
};

} // namespace vorda
