#include "scan/walk/walk_queue.h"

#include <algorithm>
#include <iterator>

namespace vorda {

bool WalkQueue::take(FolderTask& task) {
  std::unique_lock lock(mutex_);
  return waitAndTake(lock, task);
}

void WalkQueue::add(std::vector<FolderTask>& found) {
  std::size_t idle = 0;
  {
    const std::lock_guard lock(mutex_);
    idle = append(found);
  }
  wake(idle);
}

bool WalkQueue::finishAndTake(std::vector<FolderTask>& found, FolderTask& task) {
  std::unique_lock lock(mutex_);
  append(found);
  --busy_;
  // This worker takes one of the tasks itself.
  const std::size_t idle = tasks_.empty() ? 0 : std::min(waiting_, tasks_.size() - 1);
  if (idle > 0) {
    lock.unlock();
    wake(idle);
    lock.lock();
  }
  return waitAndTake(lock, task);
}

void WalkQueue::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
}

// Returns how many waiting workers to wake.
std::size_t WalkQueue::append(std::vector<FolderTask>& found) {
  const std::size_t count = found.size();
  tasks_.insert(tasks_.end(), std::make_move_iterator(found.begin()),
                std::make_move_iterator(found.end()));
  found.clear();
  return std::min(waiting_, count);
}

bool WalkQueue::waitAndTake(std::unique_lock<std::mutex>& lock, FolderTask& task) {
  while (stopped_ || tasks_.empty()) {
    if (stopped_ || busy_ == 0) {
      lock.unlock();
      changed_.notify_all();
      return false;
    }
    ++waiting_;
    changed_.wait(lock);
    --waiting_;
  }
  task = std::move(tasks_.front());
  tasks_.pop_front();
  ++busy_;
  return true;
}

void WalkQueue::wake(std::size_t workers) {
  for (std::size_t i = 0; i < workers; ++i) changed_.notify_one();
}

} // namespace vorda
