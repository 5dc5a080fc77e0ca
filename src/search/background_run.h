// A search in the background: one at a time, followed by its counters, cancelled or left
// to its end, its document kept until the next run or until a scan is forgotten.
//
// Whoever asks sees either the run that is going or the document of the last one, whole.
// One lock guards the change from one to the other; it is held for moments only. A scan
// that is forgotten after a run was admitted is never found in that run's document.
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

namespace vorda {

struct RunCounters {
  std::uint64_t scans = 0;
  std::uint64_t scansDone = 0;
  std::uint64_t seen = 0;  // files looked at
  std::uint64_t found = 0; // hits, as told by Run::found
  const char* phase = "listing";
  std::uint64_t files = 0; // to be worked on in this part of the work
  std::uint64_t filesDone = 0;
  std::uint64_t total = 0;      // bytes to read up to the end of this part
  std::uint64_t read = 0;       // bytes read in all
  std::uint64_t readBefore = 0; // of these, before this part
  // The percent of the whole at which this part begins and ends.
  std::uint64_t percentFrom = 0;
  std::uint64_t percentTo = 0;

  // Begins a part of the work; its first and last percent continue those of the part
  // before, so that the percent never runs backwards.
  void beginPart(const char* name, std::uint64_t lastPercent, std::uint64_t fileCount,
                 std::uint64_t bytes);
  std::uint64_t percent() const;
};

using ScanIds = std::set<int>;

// One run, shared between its thread and the requests about it.
class Run {
public:
  std::atomic<std::uint64_t> found{0};

  bool cancelled() const { return cancelled_.load(std::memory_order_relaxed); }
  void cancel();

  // Changes the counters under their lock: update([](RunCounters& counters) { … }).
  template <typename Change> void update(Change change) {
    const std::lock_guard lock(mutex_);
    change(counters_);
  }
  // All at one moment, the files of the scan that is being read among seen.
  RunCounters counters() const;

  // A scan that is being read for this run: its files count as seen, a cancel reaches it.
  void beginScan(const std::shared_ptr<ScanProgress>& progress);
  void endScan(std::uint64_t files);

  void forget(int scan);
  ScanIds forgotten() const;

private:
  std::atomic<bool> cancelled_{false};
  mutable std::mutex mutex_;
  RunCounters counters_;
  std::shared_ptr<ScanProgress> scan_;
  ScanIds forgotten_;
};

// Writes the document of a finished run without the hits of these scans. May be called
// more than once.
using RunDocument = std::function<std::string(const ScanIds& forgotten)>;
// The work of a run, on a thread of its own.
using RunWork = std::function<RunDocument(Run& run)>;

// What there is to tell about the runs: at most one of the two. Neither before the first run,
// or once a scan of the last one was forgotten.
struct RunStatus {
  std::optional<RunCounters> counters;         // of the run that is going
  std::shared_ptr<const std::string> document; // of the last run, JSON
};

class BackgroundRun {
public:
  // Starts the work. False when a run is going, which is then left alone. What the work uses
  // must live until running() is false.
  bool start(RunWork work);

  RunStatus status() const;

  bool running() const;
  void cancel();
  // Call after the scan has left the table of jobs.
  void forget(int scan);

private:
  // Shared with the thread of a run.
  struct State {
    std::mutex mutex;
    std::shared_ptr<Run> run;                    // null when none is going
    std::shared_ptr<const std::string> document; // of the last run
  };
  static void finish(State& state, const std::shared_ptr<Run>& run, const RunDocument& write);

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace vorda
