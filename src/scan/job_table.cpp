#include "scan/job_table.h"

#include <mutex>

namespace vorda {

void JobTable::add(const std::shared_ptr<Job>& job) {
  const std::unique_lock lock(mutex_);
  job->id = nextId_++;
  jobs_.emplace(job->id, job);
}

std::shared_ptr<Job> JobTable::find(int id) const {
  const std::shared_lock lock(mutex_);
  const auto at = jobs_.find(id);
  return at == jobs_.end() ? nullptr : at->second;
}

std::vector<std::shared_ptr<Job>> JobTable::all() const {
  const std::shared_lock lock(mutex_);
  std::vector<std::shared_ptr<Job>> jobs;
  jobs.reserve(jobs_.size());
  for (const auto& [id, job] : jobs_) jobs.push_back(job);
  return jobs;
}

bool JobTable::remove(int id) {
  std::shared_ptr<Job> job; // destroyed after the lock: freeing a result takes time
  const std::unique_lock lock(mutex_);
  const auto at = jobs_.find(id);
  if (at == jobs_.end()) return false;
  job = std::move(at->second);
  jobs_.erase(at);
  return true;
}

} // namespace vorda
