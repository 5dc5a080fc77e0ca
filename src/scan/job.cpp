#include "scan/job.h"

#include "base/out_of_memory.h"
#include "base/paths.h"

namespace vorda {

namespace {

bool run(const LocalScan& method, ScanProgress& progress, const ScanOptions& options,
         ScanResult& result) {
  return method && method(progress, options, result);
}

bool scanSsh(Job& job, const ScanSteps& steps, const ScanOptions& options) {
  SshFacts facts;
  // Moved: the job must not keep the password during the scan.
  if (!steps.ssh || !steps.ssh(job.progress, options, std::move(job.password), job.result, facts)) {
    return false;
  }
  job.origin = facts.host;
  job.drive = facts.drive;
  return true;
}

// Frees what a job that failed holds.
void giveBack(Job& job) {
  job.result = ScanResult{};
  job.document = nullptr;
}

// False if the scan failed.
bool scanAndFinish(Job& job, const ScanSteps& steps) {
  const ScanOptions options = optionsOf(job);
  const bool ssh = job.overSsh();
  if (!(ssh ? scanSsh(job, steps, options) : readLocal(steps, job.progress, options, job.result))) {
    return false;
  }
  if (job.origin.empty()) job.origin = "local";
  // "h:/path" is an ssh target, not a drive.
  if (!ssh && isDriveLetterPath(job.target)) job.drive = steps.driveFigures(job.target);
  steps.finish(job);
  return true;
}

} // namespace

ScanOptions optionsOf(const Job& job) {
  ScanOptions options;
  options.root = job.target;
  options.extensions = job.extensions;
  options.namePatterns = job.namePatterns;
  options.bounds = job.bounds;
  const bool filtered = !job.extensions.empty() || !job.namePatterns.empty() || job.bounds.any();
  options.fileListThreshold = job.smallest.value_or(filtered ? 0 : kFileListThreshold);
  return options;
}

bool readLocal(const ScanSteps& steps, ScanProgress& progress, const ScanOptions& options,
               ScanResult& result) {
  const TurboVerdict verdict = steps.turboAllowed(options.root);
  if (verdict.allowed) {
    progress.setStatus(ScanStatus::turbo);
    if (run(steps.turbo, progress, options, result)) return true;
    result = ScanResult{};
    progress.edit([](ProgressTexts& texts) {
      texts.noTurbo = texts.failure.empty() ? kMftOpenFailed : texts.failure;
      texts.failure.clear();
      texts.status = ScanStatus::fallback;
    });
  } else {
    progress.edit([&verdict](ProgressTexts& texts) {
      texts.noTurbo = verdict.reason;
      texts.status = ScanStatus::walk;
    });
  }
  return run(steps.walk, progress, options, result);
}

void failJob(Job& job) {
  const std::lock_guard lock(job.resultMutex);
  giveBack(job);
  job.progress.edit([](ProgressTexts& texts) { texts.error = kNoMemory; });
}

void runJob(Job& job, const ScanSteps& steps) {
  bool finished = false;
  try {
    finished = scanAndFinish(job, steps);
  } catch (...) {
    const bool memory = isOutOfMemory();
    giveBack(job);
    job.password.wipe();
    job.progress.edit([memory](ProgressTexts& texts) {
      texts.failure = memory ? kNoMemory : kScanFailed; // too short to need memory
    });
  }
  if (!finished) {
    job.progress.edit([](ProgressTexts& texts) {
      if (texts.failure.empty()) texts.failure = kScanFailed;
      texts.error.swap(texts.failure);
    });
  }
  job.progress.phase = kPhaseFinished;
  job.done = true;
  job.resultReady = true;
}

} // namespace vorda
