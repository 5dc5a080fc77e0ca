// The jobs of this process by id, until the page forgets them. Thread-safe.
#pragma once

#include "scan/job.h"

#include <map>
#include <memory>
#include <shared_mutex>
#include <vector>

namespace vorda {

class JobTable {
public:
  // Assigns the next id (1, 2, 3, …; never reused) and keeps the job.
  void add(const std::shared_ptr<Job>& job);

  std::shared_ptr<Job> find(int id) const;
  std::vector<std::shared_ptr<Job>> all() const; // ascending ids

  // False if there is no such job. A thread still running the job keeps it alive.
  bool remove(int id);

private:
  mutable std::shared_mutex mutex_;
  std::map<int, std::shared_ptr<Job>> jobs_;
  int nextId_ = 1;
};

} // namespace vorda
