// The lines that another machine prints: a file system's figures, and its listing.
//
// Foreign bytes. A line that is not exactly what it should be is no such line; what is
// wrong with it does not matter.
#pragma once

#include "scan/targets.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vorda {

struct ListingLine {
  bool folder = false;
  std::uint64_t size = 0;     // bytes
  std::uint64_t modified = 0; // milliseconds since 1970 (UTC), 0 when not known
  std::string_view path;      // absolute; the bytes as they came, within the line
};

// "d" or "f", the size in bytes, the time in seconds since 1970 with or without a
// fraction, and the path, a tab between each; the path is all behind the third tab, tabs
// included. A size that is no decimal number of 64 bits makes it no line; a time before
// 1970, or one that is no time, is a time not known.
std::optional<ListingLine> parseListingLine(std::string_view line);

// A line of `df -Pk`: fields between blanks, the second to fourth of 1 to 18 digits: the
// size, the used and the available blocks of 1,024 bytes. Figures beyond 64 bits of bytes
// make it no line.
std::optional<DriveFigures> parseFileSystemLine(std::string_view line);

} // namespace vorda
