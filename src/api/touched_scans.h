// All finished scans that a file operation may touch: they are kept from other operations while
// it runs, and brought up to date afterwards.
#pragma once

#include "fileops/cleanup.h"
#include "fileops/delete.h"
#include "scan/job_table.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vorda {

class TouchedScans {
public:
  // Waits for the operations on these scans: those whose roots contain the named one's or lie in
  // it, or all without a named one.
  TouchedScans(const JobTable& jobs, Machine& machine, FolderSource& folders, const Job* named);

  std::vector<Job*> jobs() const;

  // A scan that cannot be brought up to date for want of memory fails.
  void update(const DeleteResult& result);

  // Lists an emptied folder again in each scan that has it.
  void updateCleaned(const std::wstring& folder, const TypeTotals& typesBefore,
                     std::uint64_t freed);

  // For a change that is not known: all these scans fail.
  void fail();

private:
  struct Scan {
    std::shared_ptr<Job> job;
    std::wstring scanned; // its root
    std::wstring root;    // the final path of it
    std::unique_lock<std::mutex> lock;
  };
  struct Share; // of one scan in a deletion

  void update(Scan& scan, const DeleteResult& result);
  void updateCleaned(Scan& scan, const std::wstring& real, const TypeTotals& typesBefore,
                     std::uint64_t freed);
  void addPath(Scan& scan, const DeletedPath& one, bool deleted, Share& share);
  ScanResult survey(const Scan& scan, const std::wstring& real) const;

  Machine& machine_;
  FolderSource& folders_;
  std::vector<Scan> scans_;
};

} // namespace vorda
