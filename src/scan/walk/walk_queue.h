// The queue of folders still to be read, shared by the workers of a walk. Thread-safe.
//
// First in, first out: the tree is read breadth first. The walk ends when the queue is empty
// and no worker is busy, since only busy workers add folders.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

struct FolderTask {
  std::uint32_t index = 0;
  std::uint32_t parent = 0xFFFFFFFF;
  std::wstring path;         // without the prefix for long paths
  std::size_t nameStart = 0; // offset of the folder's own name in path
  std::uint32_t top = 0; // number of the folder in the root that this one is or lies in; 0: of none
  bool root = false;
  bool literal = false; // see FolderReader::open

  std::wstring_view name() const { return std::wstring_view(path).substr(nameStart); }
};

class WalkQueue {
public:
  explicit WalkQueue(FolderTask root) { tasks_.push_back(std::move(root)); }

  // Waits for a task and marks the calling worker busy. False when the walk is over.
  bool take(FolderTask& task);

  // Adds the tasks a busy worker has found so far and empties found.
  void add(std::vector<FolderTask>& found);

  // add() and take() under one lock, for a worker that has finished its folder.
  bool finishAndTake(std::vector<FolderTask>& found, FolderTask& task);

  // Ends the walk: nobody gets another task. For a worker that cannot go on.
  void stop();

private:
  // Adds nothing if it throws.
  std::size_t append(std::vector<FolderTask>& found);
  bool waitAndTake(std::unique_lock<std::mutex>& lock, FolderTask& task);
  void wake(std::size_t workers);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<FolderTask> tasks_;
  std::size_t busy_ = 0;
  std::size_t waiting_ = 0;
  bool stopped_ = false;
};

} // namespace vorda
