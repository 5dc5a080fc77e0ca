#include "app/filter_values.h"

#include <chrono>

namespace vorda {

namespace {

constexpr std::uint64_t kHourMs = 3'600'000;
constexpr std::uint64_t kDayMs = 24 * kHourMs;
constexpr std::size_t kDateLength = 10;

wchar_t lowered(wchar_t unit) {
  return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit - L'A' + L'a') : unit;
}

// Takes the digits that the text begins with; nothing if there are none, or too many.
std::optional<std::uint64_t> takeDigits(std::wstring_view& text) {
  std::uint64_t value = 0;
  std::size_t count = 0;
  for (; count < text.size() && text[count] >= L'0' && text[count] <= L'9'; ++count) {
    const auto digit = static_cast<std::uint64_t>(text[count] - L'0');
    if (value > (UINT64_MAX - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  text.remove_prefix(count);
  return count == 0 ? std::nullopt : std::optional(value);
}

std::optional<std::uint64_t> dateMs(std::wstring_view text) {
  const auto year = takeDigits(text);
  if (!year || !text.starts_with(L'-')) return std::nullopt;
  text.remove_prefix(1);
  const auto month = takeDigits(text);
  if (!month || !text.starts_with(L'-')) return std::nullopt;
  text.remove_prefix(1);
  const auto day = takeDigits(text);
  if (!day || !text.empty()) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(*year)),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day)));
  const auto days = date.ok() ? std::chrono::sys_days(date).time_since_epoch().count() : 0;
  if (days <= 0) return std::nullopt;
  return static_cast<std::uint64_t>(days) * kDayMs;
}

} // namespace

std::optional<std::uint64_t> parseSizeValue(std::wstring_view text) {
  const std::optional<std::uint64_t> value = takeDigits(text);
  if (!value) return std::nullopt;
  unsigned shift = 0;
  if (!text.empty() && lowered(text.front()) != L'b') {
    constexpr std::wstring_view kUnits = L"kmgt";
    const std::size_t unit = kUnits.find(lowered(text.front()));
    if (unit == std::wstring_view::npos) return std::nullopt;
    shift = 10 * static_cast<unsigned>(unit + 1);
    text.remove_prefix(1);
  }
  if (!text.empty() && lowered(text.front()) == L'b') text.remove_prefix(1);
  if (!text.empty() || *value > (UINT64_MAX >> shift)) return std::nullopt;
  return *value << shift;
}

std::optional<std::uint64_t> parseMomentValue(std::wstring_view text, std::uint64_t nowMs) {
  if (text.size() == kDateLength && text[4] == L'-' && text[7] == L'-') return dateMs(text);
  const std::optional<std::uint64_t> count = takeDigits(text);
  if (!count || text.size() != 1) return std::nullopt;
  std::uint64_t unit = 0;
  switch (lowered(text.front())) {
  case L'h': unit = kHourMs; break;
  case L'd': unit = kDayMs; break;
  case L'w': unit = 7 * kDayMs; break;
  case L'y': unit = 365 * kDayMs; break;
  default: return std::nullopt;
  }
  if (*count > UINT64_MAX / unit || *count * unit > nowMs || nowMs - *count * unit < kDayMs) {
    return std::nullopt;
  }
  return nowMs - *count * unit;
}

} // namespace vorda
