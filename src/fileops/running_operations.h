// Counts the file operations that run, so that the process does not end in the middle of one: before it
// ends it closes this, and then none begins. Thread-safe.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace vorda {

// How long a process that was asked to end waits for its file operations.
inline constexpr std::chrono::seconds kWaitForOperations{60};
// How long the answer to a request may take until it is sent.
inline constexpr std::chrono::milliseconds kAnswerSent{300};

class RunningOperations {
public:
  // An operation runs from begin() until the result is destroyed. While this is paused or closed, begin()
  // waits: what is asked for then is done after resume(), or not at all.
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
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !paused_ && !closed_; });
    ++count_;
    return Operation(*this);
  }

  bool any() const {
    const std::lock_guard lock(mutex_);
    return count_ > 0;
  }

  // Lets none begin until resume(), and waits for those that run and for their answers to be sent. False
  // if some still run when the time is over. One thread at a time.
  bool pause(std::chrono::milliseconds most) {
    std::unique_lock lock(mutex_);
    paused_ = true;
    return waitForAll(lock, most);
  }

  void resume() {
    const std::lock_guard lock(mutex_);
    paused_ = false;
    changed_.notify_all();
  }

  // The same for good.
  bool close(std::chrono::milliseconds most) {
    std::unique_lock lock(mutex_);
    closed_ = true;
    return waitForAll(lock, most);
  }

private:
  bool waitForAll(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds most) {
    if (!changed_.wait_for(lock, most, [this] { return count_ == 0; })) return false;
    const auto answered = lastEnd_ + kAnswerSent;
    lock.unlock();
    // A thread may wake up a little early.
    while (std::chrono::steady_clock::now() < answered) std::this_thread::sleep_until(answered);
    return true;
  }

  void end() {
    const std::lock_guard lock(mutex_);
    --count_;
    lastEnd_ = std::chrono::steady_clock::now();
    changed_.notify_all();
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  unsigned count_ = 0;
  std::chrono::steady_clock::time_point lastEnd_;
  bool paused_ = false;
  bool closed_ = false;
};

} // namespace vorda
