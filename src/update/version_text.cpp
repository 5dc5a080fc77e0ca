#include "update/version_text.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vorda {

namespace {

constexpr std::size_t kShortest = 3;
constexpr std::size_t kLongest = 24;
constexpr int kMostDots = 3;

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Removes the first number and the dot after it; 0 if the text is empty.
std::uint32_t takeNumber(std::string_view& text) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  std::uint64_t value = 0;
  while (!text.empty() && isDigit(text.front())) {
    value = std::min(kMost, value * 10 + static_cast<std::uint64_t>(text.front() - '0'));
    text.remove_prefix(1);
  }
  text.remove_prefix(std::min(text.find('.'), text.size()));
  if (!text.empty()) text.remove_prefix(1);
  return static_cast<std::uint32_t>(value);
}

} // namespace

bool isVersionText(std::string_view text) {
  if (text.size() < kShortest || text.size() > kLongest) return false;
  if (!isDigit(text.front()) || !isDigit(text.back())) return false;
  const bool known =
      std::all_of(text.begin(), text.end(), [](char c) { return isDigit(c) || c == '.'; });
  const auto dots = std::count(text.begin(), text.end(), '.');
  return known && dots >= 1 && dots <= kMostDots && text.find("..") == std::string_view::npos;
}

bool isNewer(std::string_view latest, std::string_view current) {
  while (!latest.empty() || !current.empty()) {
    const std::uint32_t theirs = takeNumber(latest);
    const std::uint32_t ours = takeNumber(current);
    if (theirs != ours) return theirs > ours;
  }
  return false;
}

} // namespace vorda
