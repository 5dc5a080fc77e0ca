#include "scan/final_totals.h"

namespace vorda {

void publishTotals(ScanProgress& progress, const ScanResult& result) {
  progress.files = result.fileCount;
  progress.bytes = result.byteCount;
  progress.dirs = result.folderCount;
  progress.seconds = result.seconds;
}

void finishScan(ScanProgress& progress, ScanResult& result, ScanClock::time_point start) {
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::milliseconds>(ScanClock::now() - start);
  result.seconds = static_cast<double>(elapsed.count()) / 1000.0;
  publishTotals(progress, result);
  progress.edit([&result](ProgressTexts& texts) { texts.partial = result.partial; });
}

} // namespace vorda
