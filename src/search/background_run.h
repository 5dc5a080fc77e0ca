// A search in the background. One run at a time; its document is kept until the next run starts
// or a scan is forgotten.
//
// A status request sees either the counters of the active run or the complete document of the
// last one. A scan that is forgotten after a run started never appears in its document.
#pragma once

#include "scan/progress.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vorda {

enum class RunPhase {
  listing,   // scans are listed
  comparing, // files are compared by size, identity and their ends
  hashing,   // whole files are hashed
};

// The word for a phase in documents.
std::string_view wordOf(RunPhase phase);

struct RunCounters {
  std::uint64_t scans = 0;
  std::uint64_t scansDone = 0;
  std::uint64_t seen = 0;  // files listed
  std::uint64_t found = 0; // hits, from Run::found
  RunPhase phase = RunPhase::listing;
  std::uint64_t files = 0; // to be processed in this stage
  std::uint64_t filesDone = 0;
  std::uint64_t total = 0;      // bytes to read by the end of this stage
  std::uint64_t read = 0;       // bytes read so far
  std::uint64_t readBefore = 0; // bytes read before this stage
  // The overall percentage at the beginning and the end of this stage.
  std::uint64_t percentFrom = 0;
  std::uint64_t percentTo = 0;

  // Begins the next stage, which starts at the percentage where the previous one ended, so that
  // the percentage never decreases. bytes: how many this stage reads; may be 0.
  void beginStage(RunPhase newPhase, std::uint64_t lastPercent, std::uint64_t fileCount,
                  std::uint64_t bytes);
  // Overall, 0 to 100.
  std::uint64_t percent() const;
};

using ScanIds = std::set<int>;

// One run. Thread-safe: its own thread and requests share it.
class Run {
public:
  std::atomic<std::uint64_t> found{0};

  bool cancelled() const { return cancelled_.load(std::memory_order_relaxed); }
  void cancel();

  // Calls change(counters) while the counters are locked.
  template <typename Change> void update(Change change) {
    const std::lock_guard lock(mutex_);
    change(counters_);
  }
  // A consistent copy. seen includes the files of the scan that is being listed.
  RunCounters counters() const;

  // Between these two calls, files counted in progress add to seen and a cancel is passed on.
  void beginScan(const std::shared_ptr<ScanProgress>& progress);
  void endScan(std::uint64_t files);

  // The document must not contain this scan.
  void forget(int scan);
  // Throws std::bad_alloc if one could not be remembered.
  ScanIds forgotten() const;

private:
  std::atomic<bool> cancelled_{false};
  mutable std::mutex mutex_;
  RunCounters counters_;
  std::shared_ptr<ScanProgress> scan_;
  ScanIds forgotten_;
  bool lostOne_ = false; // of the forgotten
};

// Writes the document of a finished run without hits of the forgotten scans. May be called more
// than once.
using RunDocument = std::function<std::string(const ScanIds& forgotten)>;
// The work of a run. Called on a thread of its own.
using RunWork = std::function<RunDocument(Run& run)>;

// At most one of the two is set; neither is before the first run, or after a scan was forgotten.
struct RunStatus {
  std::optional<RunCounters> counters;         // of the active run
  std::shared_ptr<const std::string> document; // of the last run, as JSON
};

class BackgroundRun {
public:
  // Starts a run, unless one is active; returns whether it did. Whatever the work refers to must
  // stay alive until running() is false.
  bool start(RunWork work);

  RunStatus status() const;

  bool running() const;
  void cancel();
  // Call after removing the scan from the job table.
  void forget(int scan);

private:
  // Shared with the thread of the run.
  struct State {
    std::mutex mutex;
    std::shared_ptr<Run> run;                    // null if none is active
    std::shared_ptr<const std::string> document; // of the last run
    // Made beforehand: there is no memory for them when they are needed.
    std::shared_ptr<const std::string> failed;
    std::shared_ptr<const std::string> outOfMemory;
    State();
  };
  static void finish(State& state, const std::shared_ptr<Run>& run, const RunDocument& write);

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace vorda
