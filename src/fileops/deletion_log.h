// The records of the deletion log: one line each, UTF-8, terminated by CR LF.
#pragma once

#include "base/time.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

// The wording of the log is part of the interface: programs read it, and it is the same in
// every language of the page.
namespace log_text {
inline constexpr std::string_view kPermanent = "definitief";
inline constexpr std::string_view kBinned = "prullenbak";
inline constexpr std::string_view kBinRefused = "definitief (niet in de prullenbak)";
inline constexpr std::string_view kPart = " (deels)";
inline constexpr std::string_view kInterrupted = " (onderbroken)";
inline constexpr std::string_view kFailed = "MISLUKT";
inline constexpr std::string_view kOf = " van ";
inline constexpr std::string_view kPathsLeft = " paden bleven staan";
inline constexpr std::string_view kCleaned = "LEEGGEMAAKT";
inline constexpr std::string_view kRemoved = " weg, ";
inline constexpr std::string_view kSkipped = " overgeslagen";
inline constexpr std::string_view kSeparator = "  ";
} // namespace log_text

enum class DeletionMode {
  permanent,
  binned,
  binRefused, // meant for the recycle bin, but deleted permanently
};

struct Manner {
  DeletionMode mode = DeletionMode::permanent;
  bool partly = false;      // the folder is still there, but not everything that was in it
  bool interrupted = false; // the process ended meanwhile; found out later
};

// A path was deleted.
std::string deletedLine(const LocalTime& at, const Manner& manner, std::uint64_t bytes,
                        std::wstring_view path);

// The shell failed with this code, or aborted if the code is 0; some of the paths that it got
// are still there.
std::string failedLine(const LocalTime& at, int code, std::uint64_t left, std::uint64_t paths);

struct Cleaned {
  bool interrupted = false; // as above
  std::uint64_t bytes = 0;
  std::uint64_t deleted = 0; // entries
  std::uint64_t skipped = 0;
};

// A folder was emptied.
std::string cleanedLine(const LocalTime& at, const Cleaned& cleaned, std::wstring_view folder);

} // namespace vorda
