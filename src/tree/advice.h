// Advice: where space can be won and what is fine as it is, derived from one finished
// scan. Pure analysis; the caller holds the job's lock.
#pragma once

#include "scan/scan_result.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

// Codes of the findings whose folders can be emptied on request.
inline constexpr const char* kTempFilesAdvice = "tempfiles";
inline constexpr const char* kUpdatesAdvice = "updates";

struct FindingItem {
  std::wstring path;
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
  // Items that belong together, from 1 (the copies of one file); 0 for all others.
  std::uint32_t group = 0;
};

struct Finding {
  std::string code;  // the rule, by which the page finds its texts
  std::string level; // "good", "warning" or "serious"
  std::uint64_t bytes = 0;
  std::uint64_t count = 0;     // what stands behind it: folders, files or groups, by rule
  std::uint64_t fileCount = 0; // the files behind it
  std::wstring target;         // the one folder that is offered to be opened, or empty
  std::vector<FindingItem> items;
  std::vector<std::string> notes; // ready-made lines, UTF-8
};

// The findings, largest first, at most one per rule. The tree must be summed. nowMs:
// milliseconds since 1970, the time against which files are old.
std::vector<Finding> buildAdvice(const ScanResult& result, std::uint64_t nowMs);

} // namespace vorda
