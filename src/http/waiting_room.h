// The connections that wait for their client. They keep no thread: one thread watches all their
// sockets and lets those go on whose wait is over.
#pragma once

#include "http/connection.h"

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>

namespace vorda {

class WaitingRoom {
public:
  using TimePoint = Connection::TimePoint;

  struct Guest {
    std::unique_ptr<Connection> connection;
    Connection::Need need;
    bool ready = false; // set by the watching thread: what it needs is there
  };

  // From any thread. The watching thread has to be woken then.
  void enter(std::unique_ptr<Connection> connection, Connection::Need need);

  // All else is for the watching thread.

  // Takes the connection that needs a thread and runs it there, or leaves it and returns false.
  using StartThread = std::function<bool(std::unique_ptr<Connection>&)>;

  // Lets in who has entered, lets go on who is ready, late or told to close, and sees off who is
  // over. Nothing that a connection runs into concerns the others.
  void goOn(TimePoint now, const StartThread& startThread);

  // How long nothing happens unless a guest becomes ready or the thread is woken; nothing: forever.
  std::optional<std::chrono::milliseconds> patience(TimePoint now) const;

  std::list<Guest>& guests() { return guests_; }

private:
  bool stays(Guest& guest, TimePoint now, const StartThread& startThread);

  std::mutex mutex_;
  std::list<Guest> entered_; // guarded by the mutex
  std::list<Guest> guests_;
  bool threadsShort_ = false; // in this round
};

} // namespace vorda
