// What a scan target is, judged from its text alone, and what the system says of it.
#pragma once

#include "scan/words.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

TargetClass classifyTarget(std::wstring_view target);

// Whether a target can be read through the master file table.
struct TurboVerdict {
  bool allowed = false;
  std::string_view reason; // why not: kNotLocal to kNoAdmin
};

// Asks the system: a whole, fixed NTFS drive whose raw volume this process may open.
TurboVerdict turboAllowed(const std::wstring& path);

// The two steps of that test that look at the path alone; empty when both pass.
std::string_view turboPathRefusal(std::wstring_view path);

struct DriveFigures {
  std::uint64_t totalBytes = 0;
  std::uint64_t freeBytes = 0;
  std::wstring label;
};

// What a Linux host says of itself.
struct SshFacts {
  std::string host; // account and host, UTF-8
  DriveFigures drive;
};

// The figures of the drive that a drive-letter path lies on; zeroes and an empty label
// for what the system does not tell, and for any other path.
DriveFigures driveFigures(const std::wstring& path);

} // namespace vorda
