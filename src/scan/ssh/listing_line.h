// Parsers for the lines an ssh host prints: df output and the file listing. The input is
// untrusted; a malformed line is rejected as a whole.
#pragma once

#include "scan/targets.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vorda {

struct ListingLine {
  bool folder = false;
  std::uint64_t size = 0;     // bytes
  std::uint64_t modified = 0; // milliseconds since 1970 (UTC); 0: unknown
  std::string_view path;      // absolute, unconverted bytes; points into the line
};

// Fields separated by tabs, as listingCommand has find print them: "d" or "f", size in bytes,
// seconds since 1970 with an optional fraction, path. The path is everything after the third
// tab and may contain tabs. The size must be a decimal number; of more than 64 bits, it is the
// largest of 64 bits. A time that is malformed or before 1970 is unknown.
std::optional<ListingLine> parseListingLine(std::string_view line);

// A line of `df -Pk` (POSIX format): fields 2 to 4 are the total, used and available blocks of
// 1,024 bytes, each of 1 to 18 digits. Values of more than 64 bits in bytes are rejected.
std::optional<DriveFigures> parseFileSystemLine(std::string_view line);

} // namespace vorda
