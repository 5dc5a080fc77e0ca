// Writes a report when the program crashes: a minidump with the call stacks, for whoever has the debug
// symbols of this version (see docs/troubleshooting.md).
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vorda {

// From now on a crash leaves a report in the folder. Removes all but the newest earlier ones.
void reportCrashes(const std::wstring& folder);

struct CrashReport {
  std::wstring path;
  std::uint64_t time = 0; // of the crash
};

// The newest report in the folder.
std::optional<CrashReport> newestCrashReport(const std::wstring& folder);

} // namespace vorda
