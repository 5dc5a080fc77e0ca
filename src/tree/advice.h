// Advice on where space can be freed, derived from a finished scan. The caller holds the job's
// resultMutex.
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
  // Number of the group of copies, from 1; 0 for items of other findings.
  std::uint32_t group = 0;
  std::uint64_t modified = 0; // of a file: milliseconds since 1970 (UTC); 0: unknown
};

struct Finding {
  std::string code;  // rule name; the page has a text for each
  std::string level; // "good", "warning" or "serious"
  std::uint64_t bytes = 0;
  std::uint64_t count = 0;     // folders, files or groups, depending on the rule
  std::uint64_t fileCount = 0; // files concerned
  std::wstring target;         // folder to open, or empty
  std::vector<FindingItem> items;
  std::vector<std::string> notes; // finished lines, UTF-8
};

// The findings, largest first, at most one per rule. Requires a summed tree. nowMs:
// milliseconds since 1970 (UTC), the reference for the age of files.
std::vector<Finding> buildAdvice(const ScanResult& result, std::uint64_t nowMs);

} // namespace vorda
