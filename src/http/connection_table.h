// Who is connected, and what every connection holds. Where a bound is reached, this decides which
// connection has to go, so that one client cannot take what the others need.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace vorda {

class ConnectionTable;

// The place of one connection, given up on destruction. One thread at a time uses it.
class ConnectionSeat {
public:
  enum class Room { granted, later, denied };

  ConnectionSeat(const ConnectionSeat&) = delete;
  ConnectionSeat& operator=(const ConnectionSeat&) = delete;
  ~ConnectionSeat();

  // IPv4, the first byte in the highest bits.
  std::uint32_t address() const { return address_; }

  // Whether this connection has to be closed, because others need its place or its memory.
  bool mustClose() const { return closing_; }

  // Its client has sent what is asked for, and it is the program's turn: it is not closed for others
  // as long as some wait for their client. False when it already must close.
  bool arrive();

  // It waits for its client again, as it did in the beginning.
  void wait();

  // From now on the connection is not closed for others: it has shown a key, or its request is
  // complete. False when it already must close.
  bool keep();

  // The same, and what it holds cannot be given up until its request is answered.
  bool work();

  // Its request is answered, and it holds nothing any more. It is closed only where there is no
  // room for any further connection, and nobody waits without being kept.
  void finish();

  // Says how many bytes the connection will hold from now on. Where there is no room, others are
  // told to close, and the answer is "later" until their bytes are free. "denied": this connection is
  // the one to be closed.
  Room tryHold(std::size_t bytes);

  // The same for a thread of its own: waits up to a second for room.
  bool hold(std::size_t bytes);

private:
  friend class ConnectionTable;
  ConnectionSeat(ConnectionTable& table, std::uint32_t address)
      : table_(table), address_(address) {}

  ConnectionTable& table_;
  const std::uint32_t address_;
  std::atomic<bool> closing_{false};
  enum class Stage { waiting, arrived, kept, working, finished };
  Stage stage_ = Stage::waiting; // this and the next: guarded by the table
  std::size_t held_ = 0;
  std::list<ConnectionSeat*>::iterator place_;
  std::chrono::steady_clock::time_point entered_;
};

struct ConnectionBounds {
  std::size_t perAddress = 64; // other than loopback
  std::size_t notKept = 512;
  std::size_t closing = 64; // and not gone yet: more have to wait for these
  std::size_t connections = 2'000;
  std::size_t heldBytes = 268'435'456; // by all together
  std::size_t alwaysHeld = 65'536;     // what each may hold even where there is no room
  // How long nobody who has just come has to go: a burst of clients may take that long to send.
  std::chrono::milliseconds settling{500};
};

// Safe to use from any thread. It must outlive its seats.
class ConnectionTable {
public:
  explicit ConnectionTable(const ConnectionBounds& bounds = {}) : bounds_(bounds) {}
  ConnectionTable(const ConnectionTable&) = delete;
  ConnectionTable& operator=(const ConnectionTable&) = delete;

  // Called under the table's lock whenever a connection is told to close. Set before the first
  // connection enters.
  void onClosing(std::function<void()> call) { onClosing_ = std::move(call); }

  // A seat for a new connection. Where a bound is reached, the one that has been there longest
  // without being kept must close; when all are kept, the new one. Waits up to a second where
  // many are still closing, and where all that could go have only just come.
  std::unique_ptr<ConnectionSeat> enter(std::uint32_t address);

  // The sum over all connections.
  std::size_t heldBytes() const;

private:
  friend class ConnectionSeat;
  using Room = ConnectionSeat::Room;
  using Stage = ConnectionSeat::Stage;
  void leave(ConnectionSeat& seat);
  bool become(ConnectionSeat& seat, Stage stage);
  void close(ConnectionSeat& seat);
  Room hold(ConnectionSeat& seat, std::size_t bytes);
  void setHeld(ConnectionSeat& seat, std::size_t bytes);
  bool closeLargest(ConnectionSeat& asking, std::size_t wanted);
  bool fits(const ConnectionSeat& seat, std::size_t bytes) const;
  bool willFit(const ConnectionSeat& seat, std::size_t bytes) const;
  static bool notKept(const ConnectionSeat& seat);
  bool isSettling() const;
  template <typename Counts> bool makeRoom(std::size_t bound, Counts counts);

  const ConnectionBounds bounds_;
  mutable std::mutex mutex_;
  std::condition_variable freed_;
  std::function<void()> onClosing_;
  std::list<ConnectionSeat*> seats_; // the longest there first
  std::size_t heldBytes_ = 0;
};

} // namespace vorda
