#include "scan/scan_log.h"

#include "base/text.h"

#include <utility>

namespace vorda {

namespace {

void noteBegin(DiagnosticLog& log, const char* method, const ScanOptions& options) {
  log.write(LogLevel::info, std::string("scan by ") + method + " begins");
  log.write(LogLevel::detail, "scan of " + toUtf8(options.root));
}

void noteEnd(DiagnosticLog& log, const char* method, bool done, const ScanProgress& progress,
             const ScanResult& result) {
  const std::string name = std::string("scan by ") + method;
  if (!done) {
    log.write(LogLevel::warning, name + " failed: " + progress.texts().failure);
    return;
  }
  std::string text = name + " ends: " + std::to_string(result.fileCount) + " files, " +
                     std::to_string(result.folderCount) + " folders, " +
                     std::to_string(result.unreadableFolders) + " unreadable, " +
                     std::to_string(result.skippedFolders) + " skipped, " +
                     std::to_string(static_cast<std::uint64_t>(result.seconds * 1'000)) + " ms";
  if (result.partial != Partial::none) text.append(", ").append(wordOf(result.partial));
  log.write(LogLevel::info, text);
}

LocalScan logged(LocalScan scan, const char* method, DiagnosticLog& log) {
  if (!scan) return scan;
  return [scan = std::move(scan), method, &log](ScanProgress& progress, const ScanOptions& options,
                                                ScanResult& result) {
    noteBegin(log, method, options);
    const bool done = scan(progress, options, result);
    noteEnd(log, method, done, progress, result);
    return done;
  };
}

} // namespace

ScanSteps loggedSteps(ScanSteps steps, DiagnosticLog& log) {
  steps.turbo = logged(std::move(steps.turbo), "turbo", log);
  steps.walk = logged(std::move(steps.walk), "walk", log);
  if (steps.turboAllowed) {
    steps.turboAllowed = [allowed = std::move(steps.turboAllowed), &log](const std::wstring& root) {
      TurboVerdict verdict = allowed(root);
      if (!verdict.allowed) log.write(LogLevel::info, "no turbo: " + std::string(verdict.reason));
      return verdict;
    };
  }
  if (steps.ssh) {
    steps.ssh = [ssh = std::move(steps.ssh), &log](ScanProgress& progress,
                                                   const ScanOptions& options, Secret password,
                                                   ScanResult& result, SshFacts& facts) {
      noteBegin(log, "ssh", options);
      const bool done = ssh(progress, options, std::move(password), result, facts);
      noteEnd(log, "ssh", done, progress, result);
      return done;
    };
  }
  return steps;
}

} // namespace vorda
