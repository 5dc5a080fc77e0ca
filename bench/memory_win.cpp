// What a large scan result costs in the program as it is shipped: seconds to sum it and
// to write its document, and memory per folder and per kept file, at two sizes.
#include "report/result_document.h"
#include "synthetic.h"
#include "tree/size_tree.h"

#include <windows.h>

#include <psapi.h>

#include <chrono>
#include <cstdio>

namespace {

using namespace vorda;

struct Memory {
  double now = 0;
  double peak = 0;
};

Memory memory() {
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

void measure(std::uint32_t folders, std::uint32_t files) {
  Job job;
  job.target = L"C:\\";
  job.result.rootPath = L"C:\\";
  const double before = memory().now;
  job.result.folders = bench::realisticTree(folders);
  const double withFolders = memory().now;
  bench::fillFiles(job.result, files);
  const double withFiles = memory().now;
  const double summing = secondsOf([&job] { sumTree(job.result.folders, job.progress); });
  const double peakSummed = memory().peak;
  const double writing =
      secondsOf([&job] { buildResultDocument(job, kDocumentOptions, 1'800'000'000'000ULL); });
  const double peakWritten = memory().peak;
  std::printf("%u folders, %u kept files\n", folders, files);
  std::printf("  held: %.0f bytes a folder, %.0f bytes a file\n", (withFolders - before) / folders,
              (withFiles - withFolders) / files);
  std::printf("  summing: %.2f s (%.0f ns a folder), peak %+.0f bytes a folder\n", summing,
              summing * 1e9 / folders, (peakSummed - withFiles) / folders);
  std::printf("  document: %.2f s (%.0f ns a folder), %zu bytes, peak %+.0f bytes a folder\n",
              writing, writing * 1e9 / folders, job.document->size(),
              (peakWritten - peakSummed) / folders);
}

} // namespace

extern "C" int wmain() {
  measure(500'000, 100'000);
  measure(5'000'000, 1'000'000);
  return 0;
}
