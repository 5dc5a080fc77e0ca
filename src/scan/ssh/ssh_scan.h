// The scan of another machine: starts ssh, reads what it prints, and tells how it went.
#pragma once

#include "base/secret.h"
#include "scan/progress.h"
#include "scan/scan_result.h"
#include "scan/targets.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace vorda {

// A started ssh. Reads and closes on one thread.
class SshProcess {
public:
  virtual ~SshProcess() = default;

  enum class Read { bytes, silence, end };

  // Waits at most this long for something to read; count says how many bytes came.
  virtual Read read(char* buffer, std::size_t size, std::chrono::milliseconds wait,
                    std::size_t& count) = 0;

  // Closes the reading end, waits for the process as long as given and lets go of it,
  // ended or not. Its exit code, or what the system has in place of one.
  virtual std::uint32_t close(std::chrono::milliseconds wait) = 0;
};

// Starts a command line whose first word is "ssh.exe", with a password or without (then
// it is empty). Null with a failure word, kSshPipe or kSshMissing.
using SshStart = std::function<std::unique_ptr<SshProcess>(
    const std::wstring& commandLine, const Secret& password, std::string_view& failure)>;

// Lists the target options.root into the result. A cancel ends the reading early; what
// was read by then counts. The password is wiped as soon as ssh runs.
// False with the failure word kSshTarget, kSshPipe, kSshMissing, kSshDenied, kSshEmpty or
// "sshFailed:<exit code>"; the result is then empty.
bool sshScan(const SshStart& start, ScanProgress& progress, const ScanOptions& options,
             Secret password, ScanResult& result, SshFacts& facts);

// The system's own ssh.
SshStart systemSsh();

} // namespace vorda
