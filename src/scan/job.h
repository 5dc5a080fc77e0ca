// One scan: the request, its progress and its result.
//
// A job is shared between the job table and its own thread. progress may be read at any time.
// The members below resultMutex belong to the job's thread until resultReady is set; after
// that, resultMutex guards them.
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
#include <optional>
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
  std::optional<std::uint64_t> smallest; // bytes; the least size of the list
  FileBounds bounds;
  Secret password; // for kSshKind; empty once the scan has begun

  ScanProgress progress;
  std::atomic<bool> done{false};
  std::atomic<bool> resultReady{false};
  std::atomic<bool> rootGone{false}; // the scanned folder itself was deleted since

  // Serialises file operations on this job's files. Locked before resultMutex, which is never
  // held during disk access.
  std::mutex fileOperation;

  mutable std::mutex resultMutex;
  ScanResult result;
  DriveFigures drive;
  std::string origin;       // "local", or the ssh host
  std::uint64_t freed = 0;  // bytes deleted permanently since the scan
  std::uint64_t binned = 0; // bytes moved to the recycle bin since the scan
  // The latest result document; readers share it without copying.
  std::shared_ptr<const std::string> document;
  // The same with bytes on disk; null until somebody asks for it.
  std::shared_ptr<const std::string> fullDocument;

  bool overSsh() const { return kind == kSshKind; }

  // Of a finished job; empty if it failed, which it may do at any time.
  std::wstring rootPath() const {
    const std::lock_guard lock(resultMutex);
    return result.rootPath;
  }
};

using LocalScan = std::function<bool(ScanProgress&, const ScanOptions&, ScanResult&)>;
using SshScan =
    std::function<bool(ScanProgress&, const ScanOptions&, Secret password, ScanResult&, SshFacts&)>;

// The functions a job runs, supplied by the entry point. A missing scan function counts as a
// failed scan.
struct ScanSteps {
  std::function<TurboVerdict(const std::wstring&)> turboAllowed;
  LocalScan turbo;
  LocalScan walk;
  SshScan ssh;
  std::function<DriveFigures(const std::wstring&)> driveFigures;
  // May be missing. Shadow copies are asked for only if wanted.
  std::function<DriveReserves(const std::wstring& root, bool shadow)> driveReserves;
  std::function<void(Job&)> finish; // sums the tree and builds the result document
};

ScanOptions optionsOf(const Job& job);

// Scans a target on this machine: with turbo if turboAllowed says so, with the walk if not or
// if turbo fails. False if the walk failed; progress.texts().failure then holds its word.
bool readLocal(const ScanSteps& steps, ScanProgress& progress, const ScanOptions& options,
               ScanResult& result);

// Runs the whole job on the calling thread and always marks it done. A failed job has a failure
// word in progress.texts().error: that of the scan method, kNoMemory, or kScanFailed.
void runJob(Job& job, const ScanSteps& steps);

// Turns a finished job into a failed one (kNoMemory) and frees its result: what it shows is no
// longer true and cannot be brought up to date.
void failJob(Job& job);

} // namespace vorda
