#include "app/scan_steps_win.h"

#include "base/time.h"
#include "report/result_document.h"
#include "scan/ssh/ssh_scan.h"
#include "scan/turbo/turbo_scan.h"
#include "scan/walk/walk.h"
#include "tree/disk_sums.h"

namespace vorda {

ScanSteps makeScanSteps(FolderSource& folders) {
  ScanSteps steps;
  steps.turboAllowed = turboAllowed;
  steps.turbo = [](ScanProgress& progress, const ScanOptions& options, ScanResult& result) {
    return turboScan(openVolume, progress, options, result);
  };
  steps.walk = [&folders](ScanProgress& progress, const ScanOptions& options, ScanResult& result) {
    return walk(folders, progress, options, result);
  };
  steps.ssh = [start = systemSsh()](ScanProgress& progress, const ScanOptions& options,
                                    Secret password, ScanResult& result, SshFacts& facts) {
    return sshScan(start, progress, options, std::move(password), result, facts);
  };
  steps.driveFigures = driveFigures;
  steps.driveReserves = driveReserves;
  steps.finish = [](Job& job) {
    sumScan(job.result, job.progress);
    buildResultDocument(job, kDocumentOptions, nowUnixMs());
  };
  return steps;
}

} // namespace vorda
