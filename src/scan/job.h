// One scan: what was asked for, how far it is, and what it found.
//
// A job is shared: the table of jobs holds it until it is forgotten, its own thread
// until it ends. The texts and counters in progress may be read at any time. What stands
// below resultMutex belongs to the job's thread until resultReady is set, and from then
// on to whoever holds that mutex.
#pragma once

#include "base/secret.h"
#include "scan/progress.h"
#include "scan/scan_result.h"
#include "scan/targets.h"
#include "scan/words.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vorda {

struct Job {
  int id = 0;
  std::wstring target;
  std::string kind; // as asked for; kDefaultKind when nothing was said
  std::wstring label;
  std::vector<std::wstring> extensions;
  std::vector<std::wstring> namePatterns;
  Secret password; // for kSshKind; empty once the scan has begun

  ScanProgress progress;
  std::atomic<bool> done{false};
  std::atomic<bool> resultReady{false};

  // Held by a file operation on this job's files from beginning to end, so that two of them
  // wait for each other. Taken before resultMutex, which is never held while the disk works.
  std::mutex fileOperation;

  mutable std::mutex resultMutex;
  ScanResult result;
  DriveFigures drive;
  std::string origin;       // "local", or the remote host
  std::uint64_t freed = 0;  // bytes removed for good since the scan
  std::uint64_t binned = 0; // bytes moved to the recycle bin since the scan
  // The result document as it was last built; readers share it without copying.
  std::shared_ptr<const std::string> document;

  bool overSsh() const { return kind == kSshKind; }
};

using LocalScan = std::function<bool(ScanProgress&, const ScanOptions&, ScanResult&)>;
using SshScan =
    std::function<bool(ScanProgress&, const ScanOptions&, Secret password, ScanResult&, SshFacts&)>;

// What a job's thread calls, put together by the entry point. A method that is not there
// counts as one that failed.
struct ScanSteps {
  std::function<TurboVerdict(const std::wstring&)> turboAllowed;
  LocalScan turbo;
  LocalScan walk;
  SshScan ssh;
  std::function<DriveFigures(const std::wstring&)> driveFigures;
  std::function<void(Job&)> finish; // sums the tree and builds the result document
};

ScanOptions optionsOf(const Job& job);

// Reads a target of this machine: by turbo where the test allows it, by the walk
// otherwise and when turbo fails. False when the walk failed too; the word is in
// progress.texts().failure.
bool readLocal(const ScanSteps& steps, ScanProgress& progress, const ScanOptions& options,
               ScanResult& result);

// Runs the whole job on the calling thread: chooses the method, falls back from turbo to
// the walk, and marks the job done in every case. A failed job has its word in
// progress.texts().error: the method's own, or kScanFailed.
void runJob(Job& job, const ScanSteps& steps);

} // namespace vorda
