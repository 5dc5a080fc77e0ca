#include "scan/ssh/ssh_scan.h"

#include "base/text.h"
#include "scan/final_totals.h"
#include "scan/ssh/ssh_output.h"
#include "scan/ssh/ssh_target.h"

#include <vector>

namespace vorda {

namespace {

constexpr std::size_t kBlockBytes = 1'048'576;
// How often the cancel flag is checked while the host sends nothing.
constexpr std::chrono::milliseconds kCancelCheck{50};
constexpr std::chrono::milliseconds kWaitForEnd{10'000};

bool giveUp(ScanProgress& progress, ScanResult& result, std::string_view word) {
  result = ScanResult{};
  progress.edit([word](ProgressTexts& texts) { texts.failure = word; });
  return false;
}

void readAll(SshProcess& process, const ScanProgress& progress, SshOutput& output) {
  std::vector<char> block(kBlockBytes);
  while (!progress.cancelRequested) {
    std::size_t count = 0;
    const SshProcess::Read outcome = process.read(block.data(), block.size(), kCancelCheck, count);
    if (outcome == SshProcess::Read::end) break;
    if (outcome == SshProcess::Read::bytes) output.feed({block.data(), count});
  }
  output.finish();
}

} // namespace

bool sshScan(const SshStart& startSsh, ScanProgress& progress, const ScanOptions& options,
             Secret password, ScanResult& result, SshFacts& facts) {
  const ScanClock::time_point start = ScanClock::now();
  progress.phase = kPhaseReading;
  progress.edit([](ProgressTexts& texts) { texts.method = ScanMethod::ssh; });
  const std::optional<SshTarget> target = parseSshTarget(options.root);
  if (!target) return giveUp(progress, result, kSshTarget);
  facts.host = toUtf8(target->host);
  // No prompt accepts a NUL, and in the environment block it would start another variable.
  if (password.view().find('\0') != std::string_view::npos) {
    return giveUp(progress, result, kSshDenied);
  }
  progress.setStatus(ScanStatus::sshConnect);
  std::string_view failure;
  const std::unique_ptr<SshProcess> process =
      startSsh(sshCommandLine(*target, !password.empty()), password, failure);
  password.wipe();
  if (!process) return giveUp(progress, result, failure);
  progress.setStatus(ScanStatus::sshList);
  ListingTree tree(toUtf8(target->path), options, result);
  SshOutput output(tree, result, progress);
  readAll(*process, progress, output);
  progress.phase = kPhaseSumming;
  const std::uint32_t exitCode = process->close(kWaitForEnd);
  if (output.linesListed() == 0) {
    return giveUp(progress, result, sshFailure(exitCode, output.permissionDenied()));
  }
  facts.drive = output.fileSystem();
  result.folderCount = result.folders.size();
  finishScan(progress, result, start);
  return true;
}

} // namespace vorda
