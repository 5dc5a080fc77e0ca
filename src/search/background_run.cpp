#include "search/background_run.h"

#include "base/detached_thread.h"
#include "base/out_of_memory.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vorda {

namespace {

constexpr std::string_view kSearchFailed = "searchFailed";

std::shared_ptr<const std::string> failureDocument(std::string_view word) {
  return std::make_shared<const std::string>(R"({"running":false,"error":")" + std::string(word) +
                                             "\"}");
}

} // namespace

std::string_view wordOf(RunPhase phase) {
  switch (phase) {
  case RunPhase::listing: return "listing";
  case RunPhase::comparing: return "comparing";
  case RunPhase::hashing: return "hashing";
  }
  return {};
}

void RunCounters::beginStage(RunPhase newPhase, std::uint64_t lastPercent, std::uint64_t fileCount,
                             std::uint64_t bytes) {
  phase = newPhase;
  percentFrom = percentTo;
  percentTo = lastPercent;
  files = fileCount;
  filesDone = 0;
  readBefore = read;
  total = read + bytes;
}

// By bytes if the stage reads any, else by files; by scans while they are listed.
std::uint64_t RunCounters::percent() const {
  std::uint64_t all = files;
  std::uint64_t done = filesDone;
  if (total > readBefore) {
    all = total - readBefore;
    done = read - readBefore;
  } else if (percentFrom == 0 && files == 0) {
    all = scans;
    done = scansDone;
  }
  if (all == 0) return percentFrom;
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(all));
  const auto length = static_cast<double>(percentTo - percentFrom);
  return percentFrom + static_cast<std::uint64_t>(part * length);
}

void Run::cancel() {
  const std::lock_guard lock(mutex_);
  cancelled_ = true;
  if (scan_) scan_->cancelRequested = true;
}

RunCounters Run::counters() const {
  const std::lock_guard lock(mutex_);
  RunCounters counters = counters_;
  counters.found = found.load(std::memory_order_relaxed);
  if (scan_) counters.seen += scan_->files;
  return counters;
}

void Run::beginScan(const std::shared_ptr<ScanProgress>& progress) {
  const std::lock_guard lock(mutex_);
  scan_ = progress;
  if (cancelled_) scan_->cancelRequested = true;
}

void Run::endScan(std::uint64_t files) {
  const std::lock_guard lock(mutex_);
  scan_ = nullptr;
  counters_.seen += files;
  ++counters_.scansDone;
}

void Run::forget(int scan) {
  const std::lock_guard lock(mutex_);
  try {
    forgotten_.insert(scan);
  } catch (const std::bad_alloc&) {
    lostOne_ = true; // so this run gets no document
    cancelled_ = true;
    if (scan_) scan_->cancelRequested = true;
  }
}

ScanIds Run::forgotten() const {
  const std::lock_guard lock(mutex_);
  if (lostOne_) throw std::bad_alloc();
  return forgotten_;
}

BackgroundRun::State::State()
    : failed(failureDocument(kSearchFailed)), outOfMemory(failureDocument(kNoMemory)) {}

// If a scan is forgotten while the document is written, the document is written again.
void BackgroundRun::finish(State& state, const std::shared_ptr<Run>& run,
                           const RunDocument& write) {
  while (true) {
    const ScanIds forgotten = run->forgotten();
    auto document = std::make_shared<const std::string>(write(forgotten));
    const std::lock_guard lock(state.mutex);
    if (run->forgotten().size() != forgotten.size()) continue;
    state.document = std::move(document);
    state.run = nullptr;
    return;
  }
}

bool BackgroundRun::start(RunWork work) {
  const auto run = std::make_shared<Run>();
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->run) return false;
    state_->run = run;
    state_->document = nullptr;
  }
  const auto giveUp = [state = state_](const std::shared_ptr<const std::string>& document) {
    const std::lock_guard lock(state->mutex);
    state->run = nullptr;
    state->document = document;
  };
  try {
    startDetached([state = state_, run, giveUp, work = std::move(work)] {
      try {
        finish(*state, run, work(*run));
      } catch (...) {
        giveUp(isOutOfMemory() ? state->outOfMemory : state->failed); // the next run may start
      }
    });
  } catch (...) {
    giveUp(nullptr);
    throw;
  }
  return true;
}

RunStatus BackgroundRun::status() const {
  const std::lock_guard lock(state_->mutex);
  if (state_->run) return {state_->run->counters(), nullptr};
  return {std::nullopt, state_->document};
}

bool BackgroundRun::running() const {
  const std::lock_guard lock(state_->mutex);
  return state_->run != nullptr;
}

void BackgroundRun::cancel() {
  const std::lock_guard lock(state_->mutex);
  if (state_->run) state_->run->cancel();
}

void BackgroundRun::forget(int scan) {
  const std::lock_guard lock(state_->mutex);
  if (state_->run) state_->run->forget(scan);
  state_->document = nullptr;
}

} // namespace vorda
