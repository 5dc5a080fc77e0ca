// The scan of an ssh target: starts ssh and parses its output.
#pragma once

#include "base/secret.h"
#include "scan/progress.h"
#include "scan/scan_result.h"
#include "scan/ssh/listing_tree.h"
#include "scan/targets.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace vorda {

// A running ssh process. Used by one thread.
class SshProcess {
public:
  virtual ~SshProcess() = default;

  enum class Read { bytes, silence, end };

  // Waits for output at most this long. count: the bytes read.
  virtual Read read(char* buffer, std::size_t size, std::chrono::milliseconds wait,
                    std::size_t& count) = 0;

  // Ends the process now; without it, an ssh that has nothing to write would stay.
  virtual void end() = 0;

  // Closes the pipe, waits for the process to end, at most this long, and releases it. Returns
  // its exit code, or STILL_ACTIVE.
  virtual std::uint32_t close(std::chrono::milliseconds wait) = 0;
};

// Starts a command line whose first word is "ssh.exe". An empty password means none. Null with
// the failure word kSshPipe or kSshMissing.
using SshStart = std::function<std::unique_ptr<SshProcess>(
    const std::wstring& commandLine, const Secret& password, std::string_view& failure)>;

// Scans the ssh target options.root. A cancelled scan, and one whose connection broke, keeps the
// part read so far, marked as partial. The password is wiped as soon as ssh runs.
// False with the failure word kSshTarget, kSshPipe, kSshMissing, kSshDenied, kSshEmpty,
// kSshTooLarge or "sshFailed:<exit code>"; the result is then empty.
bool sshScan(const SshStart& startSsh, ScanProgress& progress, const ScanOptions& options,
             Secret password, ScanResult& result, SshFacts& facts,
             const ListingLimits& limits = {});

// The ssh client of this machine.
SshStart systemSsh();

} // namespace vorda
