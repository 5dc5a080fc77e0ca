#include "analysis/background_run.h"

#include "base/detached_thread.h"

#include <utility>

namespace vorda {

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
  forgotten_.insert(scan);
}

ScanIds Run::forgotten() const {
  const std::lock_guard lock(mutex_);
  return forgotten_;
}

// A scan may be forgotten while the document is written: it is then written again.
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

HttpResponse BackgroundRun::start(RunWork work) {
  const auto run = std::make_shared<Run>();
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->run) return answer(200, "{\"started\":false,\"running\":true}");
    state_->run = run;
    state_->document = nullptr;
  }
  const auto giveUp = [state = state_](const char* document) {
    const std::lock_guard lock(state->mutex);
    state->run = nullptr;
    if (document != nullptr) state->document = std::make_shared<const std::string>(document);
  };
  try {
    startDetached([state = state_, run, giveUp, work = std::move(work)] {
      try {
        finish(*state, run, work(*run));
      } catch (...) {
        // Out of memory, most likely: what the run held is given back, the next may begin.
        giveUp("{\"running\":false,\"error\":\"searchFailed\"}");
      }
    });
  } catch (...) {
    giveUp(nullptr);
    throw;
  }
  return answer(200, "{\"started\":true,\"running\":true}");
}

HttpResponse BackgroundRun::status(RunProgressText progressText) const {
  std::shared_ptr<Run> run;
  {
    const std::lock_guard lock(state_->mutex);
    run = state_->run;
    if (!run && state_->document) return {200, kJsonType, state_->document};
  }
  return answer(200, run ? progressText(run->counters()) : "{\"running\":false}");
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
