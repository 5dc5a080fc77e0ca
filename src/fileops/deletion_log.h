// The records of the deletion log: one line each, UTF-8, terminated by CR LF.
#pragma once

#include "base/time.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

enum class DeletionMode {
  permanent,
  binned,
  binRefused, // meant for the recycle bin, but deleted permanently
};

enum class Extent {
  whole,
  part, // the folder is still there, but not everything that was in it
};

// A path was deleted.
std::string deletedLine(const LocalTime& at, DeletionMode mode, Extent extent, std::uint64_t bytes,
                        std::wstring_view path);

// The shell failed with this code, or aborted if the code is 0; some of the paths that it got
// are still there.
std::string failedLine(const LocalTime& at, int code, std::uint64_t left, std::uint64_t paths);

// A folder was emptied; the numbers are those of its entries.
std::string cleanedLine(const LocalTime& at, std::uint64_t bytes, std::wstring_view folder,
                        std::uint64_t deleted, std::uint64_t skipped);

} // namespace vorda
