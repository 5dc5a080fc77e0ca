// The live state of a scan that other threads may look at while it runs.
//
// The counters and flags are atomics; the texts have one lock of their own, so that a
// reader never waits for the scan's work.
#pragma once

#include "scan/words.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

namespace vorda {

// Phase numbers as published.
inline constexpr int kPhaseReading = 1;
inline constexpr int kPhaseSumming = 2;
inline constexpr int kPhaseFinished = 3;

struct ProgressTexts {
  ScanStatus status = ScanStatus::none;
  std::wstring current; // the folder last finished
  ScanMethod method = ScanMethod::none;
  std::string noTurbo; // why turbo was not used; empty when it was
  std::string failure; // the word a scan method left when it gave up
  std::string error;   // the word the whole job failed with
};

class ScanProgress {
public:
  std::atomic<std::uint64_t> files{0};
  std::atomic<std::uint64_t> bytes{0};
  std::atomic<std::uint64_t> dirs{0};
  std::atomic<int> phase{0};
  std::atomic<double> seconds{0};
  std::atomic<bool> cancelRequested{false};

  // Changes the texts under their lock: edit([](ProgressTexts& texts) { … }).
  template <typename Change> void edit(Change change) {
    const std::lock_guard lock(mutex_);
    change(texts_);
  }

  void setStatus(ScanStatus status) {
    edit([status](ProgressTexts& texts) { texts.status = status; });
  }

  ProgressTexts texts() const {
    const std::lock_guard lock(mutex_);
    return texts_;
  }

private:
  mutable std::mutex mutex_;
  ProgressTexts texts_;
};

} // namespace vorda
