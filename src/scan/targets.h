// Facts about a scan target, from its text and from the system.
#pragma once

#include "scan/words.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

TargetClass classifyTarget(std::wstring_view target);

// Whether a target is a whole WSL distribution and not a folder in one.
bool isWslDistribution(std::wstring_view target);

// Whether turbo can read a target.
struct TurboVerdict {
  bool allowed = false;
  std::string_view reason; // why not: kNotLocal to kNoAdmin
};

// Requires a whole, fixed NTFS drive whose raw volume this process may open.
TurboVerdict turboAllowed(const std::wstring& path);

// The part of turboAllowed that needs only the path: kNotLocal, kNotWholeDrive or empty.
std::string_view turboPathRefusal(std::wstring_view path);

struct DriveFigures {
  std::uint64_t totalBytes = 0;
  std::uint64_t freeBytes = 0;
  std::wstring label;
};

// Space of a drive that is used without any file to see. In bytes; nothing where Windows does not
// tell.
struct DriveReserves {
  std::optional<std::uint64_t> shadow;   // shadow copies
  std::optional<std::uint64_t> reserved; // kept for updates of Windows
};

// root: "X:\".
DriveReserves driveReserves(const std::wstring& root, bool shadow);

// Facts about the scanned host.
struct SshFacts {
  std::string host; // "user@host" or "host", UTF-8
  DriveFigures drive;
};

// Size, free space and label of the drive in a drive-letter path. Unknown values, and all
// values for any other path, are zero or empty.
DriveFigures driveFigures(const std::wstring& path);

} // namespace vorda
