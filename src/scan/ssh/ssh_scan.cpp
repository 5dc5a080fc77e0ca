#include "scan/ssh/ssh_scan.h"

#include "base/text.h"
#include "scan/final_totals.h"
#include "scan/ssh/ssh_output.h"
#include "scan/ssh/ssh_target.h"

#include <utility>
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

enum class Ending { complete, cancelled, full };

Ending readAll(SshProcess& process, const ScanProgress& progress, const ListingTree& tree,
               SshOutput& output) {
  std::vector<char> block(kBlockBytes);
  while (!progress.cancelRequested) {
    if (tree.full()) return Ending::full;
    std::size_t count = 0;
    const SshProcess::Read outcome = process.read(block.data(), block.size(), kCancelCheck, count);
    if (outcome == SshProcess::Read::end) {
      output.finish();
      return Ending::complete;
    }
    if (outcome == SshProcess::Read::bytes) output.feed({block.data(), count});
  }
  return Ending::cancelled;
}

// Ends ssh, also when memory runs out: it would wait for somebody to read on.
struct EndOfProcess {
  SshProcess* process; // null once it has ended by itself
  ~EndOfProcess() { now(); }
  void now() {
    if (process != nullptr) std::exchange(process, nullptr)->end();
  }
};

// Whether the output ended before the listing did. find reports folders it could not read by 1;
// ssh reports a lost connection by 255, and a shell a killed find by its signal.
bool brokeOff(std::uint32_t exitCode, const SshOutput& output) {
  constexpr std::uint32_t kFindHadErrors = 1;
  return exitCode > kFindHadErrors || output.cutOff();
}

} // namespace

bool sshScan(const SshStart& startSsh, ScanProgress& progress, const ScanOptions& options,
             Secret password, ScanResult& result, SshFacts& facts, const ListingLimits& limits) {
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
  EndOfProcess ends = {process.get()};
  progress.setStatus(ScanStatus::sshList);
  ListingTree tree(toUtf8(target->path), options, result, limits);
  SshOutput output(tree, result, progress);
  const Ending ending = readAll(*process, progress, tree, output);
  progress.phase = kPhaseSumming;
  if (ending == Ending::complete) ends.process = nullptr;
  ends.now();
  const std::uint32_t exitCode = process->close(kWaitForEnd);
  if (ending == Ending::full) return giveUp(progress, result, kSshTooLarge);
  if (ending == Ending::cancelled) {
    result.partial = Partial::cancelled;
  } else if (output.linesListed() == 0) {
    return giveUp(progress, result, sshFailure(exitCode, output.permissionDenied()));
  } else if (brokeOff(exitCode, output)) {
    result.partial = Partial::broken;
  }
  facts.drive = output.fileSystem();
  result.folderCount = result.folders.size();
  finishScan(progress, result, start);
  return true;
}

} // namespace vorda
