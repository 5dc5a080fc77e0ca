// Counts the file operations that run, so that the process does not end in the middle of one.
// Thread-safe.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vorda {

// How long a process that was asked to end waits for its file operations.
inline constexpr std::chrono::seconds kWaitForOperations{60};

class RunningOperations {
public:
  // An operation runs from begin() until the result is destroyed.
  class Operation {
  public:
    explicit Operation(RunningOperations& all) : all_(all) {}
    ~Operation() { all_.end(); }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

  private:
    RunningOperations& all_;
  };
  [[nodiscard]] Operation begin() {
    const std::lock_guard lock(mutex_);
    ++count_;
    return Operation(*this);
  }

  bool any() const {
    const std::lock_guard lock(mutex_);
    return count_ > 0;
  }

  // False if some still run when the time is over.
  bool waitUntilNone(std::chrono::milliseconds most) const {
    std::unique_lock lock(mutex_);
    return none_.wait_for(lock, most, [this] { return count_ == 0; });
  }

private:
  void end() {
    const std::lock_guard lock(mutex_);
    --count_;
    none_.notify_all();
  }

  mutable std::mutex mutex_;
  mutable std::condition_variable none_;
  unsigned count_ = 0;
};

} // namespace vorda
