// Points in time: milliseconds since 1970-01-01 00:00 UTC everywhere inside; 0 means
// that the time is not known.
#pragma once

#include <cstdint>
#include <string>

namespace vorda {

// A FILETIME (100 ns units since 1601-01-01 UTC). 0, and times before 1970, give 0.
std::uint64_t unixMsFromFileTime(std::uint64_t fileTime);

// "YYYY-MM-DD" (UTC) of a time in milliseconds; empty for an unknown time and for one
// after the year 3000.
std::string utcDate(std::uint64_t unixMs);

// Now, in milliseconds since 1970 (UTC).
std::uint64_t nowUnixMs();

// A wall-clock time of the machine's own time zone.
struct LocalTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

LocalTime localNow();

// "YYYY-MM-DD hh:mm", and the same with ":ss".
std::string minuteText(const LocalTime& time);
std::string secondText(const LocalTime& time);

} // namespace vorda
