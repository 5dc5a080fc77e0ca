// Speed of turbo compared with a bare loop that only reads the same extents in the same chunks,
// and memory per record. Both alternate within one run; compare medians and ratios.
//
// turbo_win.exe LETTER ROUNDS | turbo_win.exe LETTER memory
#include "measure_win.h"
#include "report/result_document.h"
#include "scan/turbo/table_extents.h"
#include "scan/turbo/turbo_scan.h"
#include "tree/disk_sums.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace vorda;
using namespace vorda::bench;

constexpr std::size_t kChunk = 2'097'152; // as turbo reads

struct Table {
  MftLayout layout;
  MftExtents extents;
};

Table locateTable(Volume& volume) {
  Table table;
  const PageBuffer boot = volume.buffer(kBootBytes);
  if (volume.read(0, boot.get(), kBootBytes) != kBootBytes ||
      !decodeBoot({boot.get(), kBootBytes}, table.layout).empty() ||
      !findTable(volume, table.layout, table.extents).empty()) {
    std::fprintf(stderr, "no table\n");
    std::exit(1);
  }
  return table;
}

// Opens the volume, locates the table and reads it without parsing.
void bareLoop(wchar_t letter) {
  const OpenedVolume opened = openVolume(letter);
  const Table table = locateTable(*opened.volume);
  const PageBuffer buffer = opened.volume->buffer(kChunk);
  std::uint64_t at = 0;
  while (at < table.extents.bytes) {
    const auto size =
        static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, table.extents.bytes - at));
    const std::size_t whole = (size + 4095) / 4096 * 4096;
    if (!readStream(*opened.volume, table.layout, table.extents.extents, at, buffer.get(), whole)) {
      std::fprintf(stderr, "the table cannot be read\n");
      std::exit(1);
    }
    at += size;
  }
}

// Measures memory when turbo closes the volume: only records and names are held then.
class WatchedVolume final : public Volume {
public:
  WatchedVolume(std::unique_ptr<Volume> volume, double& held)
      : volume_(std::move(volume)), held_(held) {}
  WatchedVolume(const WatchedVolume&) = delete;
  WatchedVolume& operator=(const WatchedVolume&) = delete;
  ~WatchedVolume() override { held_ = memory().now; }
  std::size_t read(std::uint64_t offset, std::uint8_t* out, std::size_t size) override {
    return volume_->read(offset, out, size);
  }
  PageBuffer buffer(std::size_t size) override { return volume_->buffer(size); }

private:
  std::unique_ptr<Volume> volume_;
  double& held_;
};

ScanSteps steps(const OpenVolume& open) {
  ScanSteps steps;
  steps.turboAllowed = [](const std::wstring&) { return TurboVerdict{true, {}}; };
  steps.turbo = [open](ScanProgress& progress, const ScanOptions& options, ScanResult& result) {
    return turboScan(open, progress, options, result);
  };
  steps.driveFigures = [](const std::wstring&) { return DriveFigures{}; };
  steps.finish = [](Job& job) {
    sumScan(job.result, job.progress);
    buildResultDocument(job, kDocumentOptions, 1'800'000'000'000ULL);
  };
  return steps;
}

void scanWhole(Job& job, wchar_t letter, const ScanSteps& with) {
  job.target = std::wstring(1, letter) + L":\\";
  runJob(job, with);
  if (job.progress.texts().method != ScanMethod::turbo || !job.document) {
    std::fprintf(stderr, "not read: %s\n", job.progress.texts().noTurbo.c_str());
    std::exit(1);
  }
}

void measureMemory(wchar_t letter) {
  const std::uint64_t count = [letter] {
    const OpenedVolume opened = openVolume(letter);
    const Table table = locateTable(*opened.volume);
    return table.extents.bytes / table.layout.recordBytes;
  }();
  const auto records = static_cast<double>(count);
  const double before = memory().now;
  double held = 0;
  double peakRead = 0;
  ScanSteps with = steps([&held](wchar_t drive) {
    OpenedVolume opened = openVolume(drive);
    opened.volume = std::make_unique<WatchedVolume>(std::move(opened.volume), held);
    return opened;
  });
  const auto finish = with.finish;
  with.finish = [&peakRead, &finish](Job& job) {
    peakRead = memory().peak;
    finish(job);
  };
  Job job;
  scanWhole(job, letter, with);
  std::printf("bytes a record: %.1f kept while reading, %.1f at the reader's peak, %.1f at the "
              "peak of the whole scan\n",
              (held - before) / records, (peakRead - before) / records,
              (memory().peak - before) / records);
}

void measureTime(wchar_t letter, int rounds) {
  std::vector<double> bare;
  std::vector<double> reading;
  std::vector<double> whole;
  std::uint64_t files = 0;
  bareLoop(letter);
  for (int round = 0; round < rounds; ++round) {
    bare.push_back(secondsOf([letter] { bareLoop(letter); }));
    reading.push_back(secondsOf([letter, &files] {
      ScanProgress progress;
      ScanOptions options;
      options.root = {letter, L':'};
      ScanResult result;
      turboScan(openVolume, progress, options, result);
      files = result.fileCount;
    }));
    Job job;
    whole.push_back(secondsOf([&job, letter] { scanWhole(job, letter, steps(openVolume)); }));
  }
  const OpenedVolume opened = openVolume(letter);
  const Table table = locateTable(*opened.volume);
  const std::uint64_t records = table.extents.bytes / table.layout.recordBytes;
  std::printf("%llu records in %zu extents, %llu files; medians of %d rounds\n", records,
              table.extents.extents.size(), files, rounds);
  const auto line = [&bare, records](const char* name, const std::vector<double>& seconds) {
    std::printf("%-28s %7.3f s %9.0f records a second %6.2f x bare\n", name, median(seconds),
                static_cast<double>(records) / median(seconds), median(seconds) / median(bare));
  };
  line("bare loop", bare);
  line("reading and parsing", reading);
  line("whole scan, with document", whole);
}

} // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: turbo_win.exe LETTER ROUNDS|memory\n");
    return 2;
  }
  const wchar_t letter = arguments[1][0];
  if (std::wstring(arguments[2]) == L"memory") {
    measureMemory(letter);
  } else {
    measureTime(letter, std::max(1, static_cast<int>(std::wcstol(arguments[2], nullptr, 10))));
  }
  return 0;
}
