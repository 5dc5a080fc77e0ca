#include "base/time.h"

#include <chrono>
#include <cstdio>

namespace vorda {

namespace {

constexpr std::uint64_t kFileTimeOf1970 = 116'444'736'000'000'000ULL;
constexpr std::uint64_t kFileTimePerMs = 10'000;
constexpr std::uint64_t kLastSecondOf3000 = 32'535'215'999ULL;

} // namespace

std::uint64_t unixMsFromFileTime(std::uint64_t fileTime) {
  return fileTime <= kFileTimeOf1970 ? 0 : (fileTime - kFileTimeOf1970) / kFileTimePerMs;
}

std::string utcDate(std::uint64_t unixMs) {
  const std::uint64_t seconds = unixMs / 1000;
  if (unixMs == 0 || seconds > kLastSecondOf3000) return {};
  const auto days = std::chrono::floor<std::chrono::days>(
      std::chrono::sys_seconds(std::chrono::seconds(static_cast<std::int64_t>(seconds))));
  const std::chrono::year_month_day date(days);
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  return text;
}

std::uint64_t nowUnixMs() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

LocalTime localNow() {
  const std::tm parts = localParts(std::time(nullptr));
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
          parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

std::string minuteText(const LocalTime& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", time.year, time.month, time.day,
                time.hour, time.minute);
  return text;
}

std::string secondText(const LocalTime& time) {
  char text[64];
  std::snprintf(text, sizeof text, "%s:%02d", minuteText(time).c_str(), time.second);
  return text;
}

} // namespace vorda
