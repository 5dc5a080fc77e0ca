// The live progress of a scan. Other threads may read all of it and request a cancel.
//
// Counters and flags are atomic; the texts have their own lock, which is only held briefly.
#pragma once

#include "scan/words.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

namespace vorda {

// Phase numbers, as published to the page.
inline constexpr int kPhaseReading = 1;
inline constexpr int kPhaseSumming = 2;
inline constexpr int kPhaseFinished = 3;

struct ProgressTexts {
  ScanStatus status = ScanStatus::none;
  std::wstring current; // the last finished folder; turbo: a record count
  ScanMethod method = ScanMethod::none;
  std::string noTurbo;             // why turbo was not used; empty if it was
  std::string failure;             // failure word of a scan method
  std::string error;               // failure word of the whole job
  Partial partial = Partial::none; // of the finished scan
};

class ScanProgress {
public:
  std::atomic<std::uint64_t> files{0};
  std::atomic<std::uint64_t> bytes{0};
  std::atomic<std::uint64_t> dirs{0};
  std::atomic<int> phase{0};
  std::atomic<double> seconds{0};
  std::atomic<bool> cancelRequested{false};

  // Changes the texts under the lock: edit([](ProgressTexts& texts) { … }).
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
