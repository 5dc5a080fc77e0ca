// Time and memory of this process, as the benchmarks print them.
#pragma once

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace vorda::bench {

// Working set in bytes.
struct Memory {
  double now = 0;
  double peak = 0;
};

inline Memory memory() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof counters;
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return {static_cast<double>(counters.WorkingSetSize),
          static_cast<double>(counters.PeakWorkingSetSize)};
}

template <typename Work> double secondsOf(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

} // namespace vorda::bench
