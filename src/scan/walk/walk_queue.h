// The folders that wait to be read, shared by the workers of one walk.
//
// First in, first out, so the tree is read breadth first. The walk is over when the
// queue is empty and no worker is busy: only a busy worker can still add folders.
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
  std::wstring path;         // without a prefix for long paths
  std::size_t nameStart = 0; // where the folder's own name begins in path
  bool root = false;
  bool literal = false; // the path holds a name that the system would read as another

  std::wstring_view name() const { return std::wstring_view(path).substr(nameStart); }
};

class WalkQueue {
public:
  explicit WalkQueue(FolderTask root) { tasks_.push_back(std::move(root)); }

  // For a worker that is not busy: waits for a task and makes the worker busy. False
  // when the walk is over.
  bool take(FolderTask& task);

  // For a busy worker: adds what it found so far, leaving found empty.
  void add(std::vector<FolderTask>& found);

  // add() and take() for a worker that has finished its folder, under one lock.
  bool finishAndTake(std::vector<FolderTask>& found, FolderTask& task);

private:
  std::size_t append(std::vector<FolderTask>& found);
  bool waitAndTake(std::unique_lock<std::mutex>& lock, FolderTask& task);
  void wake(std::size_t workers);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<FolderTask> tasks_;
  std::size_t busy_ = 0;
  std::size_t waiting_ = 0;
};

} // namespace vorda
