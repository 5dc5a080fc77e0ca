#include "scan/ssh/ssh_scan.h"

#include "base/text.h"
#include "scan/ssh/ssh_output.h"
#include "scan/ssh/ssh_target.h"

#include <vector>

namespace vorda {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kBlockBytes = 1'048'576;
// How long a cancel may go unseen while the host says nothing.
constexpr std::chrono::milliseconds kLookAfter{50};
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
    const SshProcess::Read outcome = process.read(block.data(), block.size(), kLookAfter, count);
    if (outcome == SshProcess::Read::end) break;
    if (outcome == SshProcess::Read::bytes) output.feed({block.data(), count});
  }
  output.finish();
}

} // namespace

bool sshScan(const SshStart& start, ScanProgress& progress, const ScanOptions& options,
             Secret password, ScanResult& result, SshFacts& facts) {
  const Clock::time_point began = Clock::now();
  progress.phase = kPhaseReading;
  progress.edit([](ProgressTexts& texts) { texts.method = ScanMethod::ssh; });
  const std::optional<SshTarget> target = parseSshTarget(options.root);
  if (!target) return giveUp(progress, result, kSshTarget);
  facts.host = toUtf8(target->host);
  // No prompt can be answered with it, and in an environment it would begin another variable.
  if (password.view().find('\0') != std::string_view::npos) {
    return giveUp(progress, result, kSshDenied);
  }
  progress.setStatus(ScanStatus::sshConnect);
  std::string_view failure;
  const std::unique_ptr<SshProcess> process =
      start(sshCommandLine(*target, !password.empty()), password, failure);
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
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began);
  result.seconds = static_cast<double>(took.count()) / 1000.0;
  progress.files = result.fileCount;
  progress.bytes = result.byteCount;
  progress.dirs = result.folderCount;
  progress.seconds = result.seconds;
  return true;
}

} // namespace vorda
