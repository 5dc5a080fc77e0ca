// Cost of a large scan result at two sizes: seconds for summing and for the document, memory
// per folder and per kept file. With a folder: what a walk of it leaves in memory, identities
// of files included.
//
// memory_win.exe [FOLDER]
#include "measure_win.h"
#include "report/result_document.h"
#include "scan/walk/walk.h"
#include "synthetic.h"
#include "tree/size_tree.h"

#include <cstdio>

namespace {

using namespace vorda;
using bench::memory;
using bench::secondsOf;

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

void measureWalk(const std::wstring& root) {
  const auto folders = systemFolders();
  ScanProgress progress;
  ScanOptions options;
  options.root = root;
  ScanResult result;
  const double before = memory().now;
  const double seconds = secondsOf([&] { walk(*folders, progress, options, result, 0); });
  const auto files = static_cast<double>(result.fileCount);
  std::printf("a walk of %.0f files in %zu folders: %.2f s, held %.1f bytes a file, peak %.1f\n",
              files, result.folders.size(), seconds, (memory().now - before) / files,
              (memory().peak - before) / files);
}

} // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
  if (count > 1) {
    measureWalk(arguments[1]);
    return 0;
  }
  measure(500'000, 100'000);
  measure(5'000'000, 1'000'000);
  return 0;
}
