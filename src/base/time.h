// Times are milliseconds since 1970-01-01 00:00 UTC throughout; 0 means unknown.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace vorda {

// Converts a FILETIME (100 ns units since 1601-01-01 UTC); anything before 1970 gives 0.
std::uint64_t unixMsFromFileTime(std::uint64_t fileTime);

// "YYYY-MM-DD" in UTC; empty for an unknown time and after the year 3000.
std::string utcDate(std::uint64_t unixMs);

std::uint64_t nowUnixMs();

// Wall-clock time in the machine's time zone.
struct LocalTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

LocalTime localNow();

// localtime of the C library, in its thread-safe form; one implementation per platform.
std::tm localParts(std::time_t time);

// "YYYY-MM-DD hh:mm" and "YYYY-MM-DD hh:mm:ss".
std::string minuteText(const LocalTime& time);
std::string secondText(const LocalTime& time);

} // namespace vorda
