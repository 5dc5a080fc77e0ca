// A search that lists chosen scans again for files that pass a filter: the common part of the
// file finder and the duplicate search. The disk is read because it may have changed since the
// scan.
#pragma once

#include "json/json_writer.h"
#include "scan/job_table.h"
#include "search/background_run.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vorda {

// The form fields "ids", "exts", "names" and "min".
struct SearchRequest {
  std::vector<int> ids; // positive, without duplicates, in the order given
  std::wstring exts;    // as given
  std::wstring names;   // as given
  std::vector<std::wstring> extensions;
  std::vector<std::wstring> namePatterns;
  std::uint64_t min = 0; // bytes
  FileBounds bounds;     // "max", "after" and "before"; of the finder only
  std::wstring in;       // only in this folder; of the finder only, empty: everywhere
};

class ScanSearch {
public:
  explicit ScanSearch(SearchRequest request) : request_(std::move(request)) {}
  virtual ~ScanSearch() = default;
  ScanSearch(const ScanSearch&) = delete;
  ScanSearch& operator=(const ScanSearch&) = delete;

  // Lists the finished scans among the requested ids, each file for one of them only, and
  // updates the counters of the run. A cancelled run skips the remaining scans.
  void work(const JobTable& jobs, const ScanSteps& steps, Run& run);

  // The result as JSON, without hits of the forgotten scans.
  std::string document(const ScanIds& forgotten) const;

private:
  struct Scan {
    int id = 0;
    std::wstring label;
    std::wstring root;
    std::vector<std::wstring> leftOut; // roots of other chosen scans inside this one
    bool covered = false;              // an earlier scan has the same root
    std::string error;                 // why it could not be listed
  };

  // Receives the files of one scan; used until that scan is listed.
  virtual FileSink& sinkOf(int scan, Run& run) = 0;
  // Called once after all scans are listed.
  virtual void finish(Run& run) = 0;
  // Writes the members of the document that come first.
  virtual void writeResult(JsonWriter& json, const ScanIds& forgotten) const = 0;
  // Writes additional members of "opts".
  virtual void writeOptions(JsonWriter&) const {}

  std::wstring rootIn(const std::wstring& root) const;
  void chooseScans(const JobTable& jobs);
  void list(Scan& scan, const ScanSteps& steps, Run& run);
  static void writeScan(JsonWriter& json, const Scan& scan);

  const SearchRequest request_;
  std::vector<Scan> scans_;      // in the order requested
  std::vector<Scan> sshSkipped_; // remote scans cannot be listed
  bool cancelled_ = false;
};

// The work of a run. jobs and steps must outlive the run.
RunWork scanSearchWork(std::shared_ptr<ScanSearch> search, const JobTable& jobs,
                       const ScanSteps& steps);

// Writes the member "lock" if the safety rules forbid deleting the file.
void writeLock(JsonWriter& json, const std::wstring& path);

} // namespace vorda
