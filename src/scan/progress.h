// The live progress of a scan. Other threads may read all of it and request a cancel.
//
// Counters and flags are atomic; the texts have their own lock, which is only held briefly.
#pragma once

#include "scan/words.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace vorda {

// Phase numbers, as published to the page.
inline constexpr int kPhaseReading = 1;
inline constexpr int kPhaseSumming = 2;
inline constexpr int kPhaseFinished = 3;

// A folder directly in the root, and the bytes found in it so far.
struct TopFolder {
  std::wstring name;
  std::uint64_t bytes = 0;
};

struct ProgressTexts {
  ScanStatus status = ScanStatus::none;
  std::wstring current; // the last finished folder; turbo: a record count
  ScanMethod method = ScanMethod::none;
  std::string noTurbo;             // why turbo was not used; empty if it was
  std::string failure;             // failure word of a scan method
  std::string error;               // failure word of the whole job
  Partial partial = Partial::none; // of the finished scan
  std::vector<TopFolder> top;      // the largest so far, largest first; only while it is read
};

class ScanProgress {
public:
  std::atomic<std::uint64_t> files{0};
  std::atomic<std::uint64_t> bytes{0};
  std::atomic<std::uint64_t> dirs{0};
  std::atomic<int> phase{0};
  std::atomic<double> seconds{0};
  const std::chrono::steady_clock::time_point began = std::chrono::steady_clock::now();
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
