// Summing, writing and sorting five million folders and a million kept files. Two sizes and
// items per second show whether the cost grows linearly.
#include "report/csv_report.h"
#include "report/result_document.h"
#include "synthetic.h"
#include "tree/size_tree.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

using namespace vorda;
using namespace vorda::bench;

namespace {

// realisticTree, with its last 100,000 folders in one chain.
FolderTable treeWithChain(std::uint32_t count) {
  constexpr std::uint32_t kChain = 100'000;
  FolderTable folders = realisticTree(count);
  for (std::uint32_t i = count - kChain; i < count; ++i) folders[i].parent = i - 1;
  return folders;
}

void perItem(benchmark::State& state, std::uint64_t items) {
  state.SetItemsProcessed(static_cast<std::int64_t>(items) * state.iterations());
}

void sumTree(benchmark::State& state) {
  FolderTable folders = realisticTree(static_cast<std::uint32_t>(state.range(0)));
  for (auto _ : state) {
    ScanProgress progress;
    sumTree(folders, progress);
    benchmark::DoNotOptimize(folders[0].totalBytes);
  }
  const auto deepest = std::max_element(folders.begin(), folders.end(),
                                        [](auto& a, auto& b) { return a.depth < b.depth; });
  state.counters["depth"] = deepest->depth;
  perItem(state, folders.size());
}
BENCHMARK(sumTree)->Arg(500'000)->Arg(5'000'000)->Unit(benchmark::kMillisecond);

void sumTreeWithChain(benchmark::State& state) {
  FolderTable folders = treeWithChain(static_cast<std::uint32_t>(state.range(0)));
  for (auto _ : state) {
    ScanProgress progress;
    sumTree(folders, progress);
    benchmark::DoNotOptimize(folders[0].totalBytes);
  }
  perItem(state, folders.size());
}
BENCHMARK(sumTreeWithChain)->Arg(500'000)->Arg(5'000'000)->Unit(benchmark::kMillisecond);

Job& jobOf(std::uint32_t folders, std::uint32_t files) {
  static std::unique_ptr<Job> job;
  if (!job || job->result.folders.size() != folders || job->result.files.size() != files) {
    job = std::make_unique<Job>();
    job->target = L"C:\\";
    job->origin = "local";
    job->result.rootPath = L"C:\\";
    job->result.folders = realisticTree(folders);
    sumTree(job->result.folders, job->progress);
    fillFiles(job->result, files);
  }
  return *job;
}

void writeDocument(benchmark::State& state) {
  Job& job =
      jobOf(static_cast<std::uint32_t>(state.range(0)), static_cast<std::uint32_t>(state.range(1)));
  for (auto _ : state) {
    state.counters["bytes"] = static_cast<double>(
        buildResultDocument(job, kDocumentOptions, 1'800'000'000'000ULL).size());
  }
  perItem(state, static_cast<std::uint64_t>(state.range(0)));
}
BENCHMARK(writeDocument)
    ->Args({500'000, 100'000})
    ->Args({5'000'000, 1'000'000})
    ->Unit(benchmark::kMillisecond);

void writeFilesCsv(benchmark::State& state) {
  const Job& job =
      jobOf(static_cast<std::uint32_t>(state.range(0)), static_cast<std::uint32_t>(state.range(1)));
  for (auto _ : state) {
    state.counters["bytes"] = static_cast<double>(
        buildCsvReport(job, CsvKind::files, LocalTime{}, 1'800'000'000'000ULL).size());
  }
  perItem(state, static_cast<std::uint64_t>(state.range(1)));
}
BENCHMARK(writeFilesCsv)->Args({5'000'000, 1'000'000})->Unit(benchmark::kMillisecond);

// Selecting the 120 largest of a million files, compared with sorting all of them.
void largest120(benchmark::State& state) {
  const Job& job = jobOf(5'000'000, 1'000'000);
  for (auto _ : state) benchmark::DoNotOptimize(largestFiles(job.result, 120));
  perItem(state, job.result.files.size());
}
BENCHMARK(largest120)->Unit(benchmark::kMillisecond);

void largestAll(benchmark::State& state) {
  const Job& job = jobOf(5'000'000, 1'000'000);
  for (auto _ : state) benchmark::DoNotOptimize(largestFiles(job.result, job.result.files.size()));
  perItem(state, job.result.files.size());
}
BENCHMARK(largestAll)->Unit(benchmark::kMillisecond);

} // namespace
