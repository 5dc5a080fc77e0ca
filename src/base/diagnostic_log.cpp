#include "base/diagnostic_log.h"

#include "base/time.h"

#include <cstdio>

namespace vorda {

namespace {

constexpr std::uint64_t kDayMs = 86'400'000;
constexpr std::uint64_t kHourMs = 3'600'000;
constexpr std::uint64_t kMinuteMs = 60'000;

const char* wordOf(LogLevel level) {
  switch (level) {
  case LogLevel::error: return "error   ";
  case LogLevel::warning: return "warning ";
  case LogLevel::info: return "info    ";
  case LogLevel::detail: return "detail  ";
  }
  return "";
}

std::string utcText(std::uint64_t unixMs) {
  const std::uint64_t ofDay = unixMs % kDayMs;
  char text[32];
  std::snprintf(text, sizeof text, "T%02u:%02u:%02u.%03uZ ", static_cast<unsigned>(ofDay / kHourMs),
                static_cast<unsigned>(ofDay % kHourMs / kMinuteMs),
                static_cast<unsigned>(ofDay % kMinuteMs / 1'000),
                static_cast<unsigned>(ofDay % 1'000));
  return utcDate(unixMs) + text;
}

} // namespace

void DiagnosticLog::write(LogLevel level, std::string_view text) {
  if (!keeps(level)) return;
  std::string line = utcText(now_()) + wordOf(level);
  for (const char unit : text) {
    const bool control = static_cast<unsigned char>(unit) < 0x20 || unit == 0x7F;
    line.push_back(control ? '?' : unit);
  }
  line.push_back('\n');
  const std::lock_guard lock(mutex_);
  if (full_) return;
  full_ = written_ + line.size() > kMostLogBytes;
  if (full_) line = utcText(now_()) + wordOf(LogLevel::warning) + "the log is full\n";
  written_ += line.size();
  sink_(line);
}

} // namespace vorda
