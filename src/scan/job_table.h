// All scans of the process that have not been forgotten, by their number.
//
// One reader/writer lock, held only to look up, add or remove, never while a job scans.
#pragma once

#include "scan/job.h"

#include <map>
#include <memory>
#include <shared_mutex>
#include <vector>

namespace vorda {

class JobTable {
public:
  // Gives the job its id (1, 2, 3, … never twice) and keeps it.
  void add(const std::shared_ptr<Job>& job);

  std::shared_ptr<Job> find(int id) const;
  std::vector<std::shared_ptr<Job>> all() const; // ascending ids

  // Whether there was such a job. A thread that still runs it keeps it alive.
  bool remove(int id);

private:
  mutable std::shared_mutex mutex_;
  std::map<int, std::shared_ptr<Job>> jobs_;
  int nextId_ = 1;
};

} // namespace vorda
